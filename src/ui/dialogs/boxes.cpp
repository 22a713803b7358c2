#include "ui/dialogs/boxes.h"

#include "app/errorreport.h"
#include "app/product.h"
#include "ui/dialogs/winmovable.h"
#include "ui/views/programicon.h"
#include "ui/views/stylesheet.h"

#include <QApplication>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace
{

// In the order in which they are added.
constexpr std::array offeredButtons{QMessageBox::Yes, QMessageBox::No, QMessageBox::Ok, QMessageBox::Cancel};

constexpr qsizetype mostLines = 14;

/// What kind of box a person sees: the name goes to the box, the drawing is ours.
QString kindOf(int icon)
{
    switch (icon) {
    case QMessageBox::Information: return u"box-information"_s;
    case QMessageBox::Warning: return u"box-warning"_s;
    case QMessageBox::Critical: return u"box-critical"_s;
    default: return u"box-question"_s;
    }
}

void showIcon(QMessageBox &box, int icon)
{
    constexpr QSize iconSize(40, 40);
    const QString kind = kindOf(icon);
    box.setObjectName(kind);
    box.setIconPixmap(programIcon(u":/res/"_s + kind + u".svg"_s).pixmap(iconSize, box.devicePixelRatio()));
}

/// A box without a parent would be free to open behind the window that it speaks of.
void keepAboveActiveWindow(QMessageBox &box)
{
    const QWidget *active = QApplication::activeModalWidget();
    if (!active)
        active = QApplication::activeWindow();
    if (!active)
        return;
    box.winId(); // makes the window handle
    box.windowHandle()->setTransientParent(active->windowHandle());
}

QString errorBoxText(const QString &text)
{
    return u"An Error Occurred. <br/><br/>%1<br/><br/> Or you can contact %2 for help."_s.arg(
        text, supportAddress().toHtmlEscaped());
}

/// The first lines of a rich text that would make a box taller than a screen.
QString startOf(const QString &richText)
{
    const QStringList lines = richText.split(u"<br/>"_s);
    return lines.size() <= mostLines ? richText : lines.first(mostLines).join(u"<br/>"_s) + u"<br/>\u2026"_s;
}

} // namespace

std::unique_ptr<QMessageBox> messageBox(int icon, const QString &text, int buttons)
{
    auto box =
        std::make_unique<QMessageBox>(QMessageBox::Icon(icon), productName(), text, QMessageBox::NoButton,
                                      nullptr, Qt::Dialog | Qt::FramelessWindowHint);
    new WinMovable(box.get(), box.get());
    box->setStyleSheet(loadStyleSheet());
    box->setTextFormat(Qt::RichText);
    showIcon(*box, icon);
    box->setAccessibleName(productName());
    for (const QMessageBox::StandardButton button : offeredButtons)
        if (buttons & button)
            box->addButton(button);
    keepAboveActiveWindow(*box);
    return box;
}

int showMessage(int icon, const QString &text, int buttons, const QString &details)
{
    const std::unique_ptr<QMessageBox> box = messageBox(icon, text, buttons);
    box->setDetailedText(details);
    return box->exec();
}

void showInfo(const QString &text)
{
    showMessage(QMessageBox::Information, text, QMessageBox::Ok);
}

void showWarning(const QString &text)
{
    showMessage(QMessageBox::Warning, text, QMessageBox::Ok);
}

void showCritical(const QString &text)
{
    showMessage(QMessageBox::Critical, text, QMessageBox::Ok);
    sendErrorReport(text);
}

void showError(const QString &text, const QString &details)
{
    const QString all = plainInBox(text);
    const QString start = startOf(all);
    const bool isCut = start != all;
    showMessage(QMessageBox::Critical, errorBoxText(start), QMessageBox::Ok,
                isCut && details.isEmpty() ? QTextDocumentFragment::fromHtml(all).toPlainText() : details);
    sendErrorReport(text);
}

bool askYesNo(const QString &text)
{
    return showMessage(QMessageBox::Question, text, QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

bool ask(const QString &text)
{
    return askYesNo(text);
}

QString plainInBox(const QString &text)
{
    static const QRegularExpression noBreak(u"<(?! *br */?>|/a>|a href=\"%1[^<>\"]*\">)"_s.arg(
                                                QRegularExpression::escape(websiteAddress().toHtmlEscaped())),
                                            QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression lineEnd(u"\\r?\\n"_s);
    return QString(text).replace(noBreak, u"&lt;"_s).replace(lineEnd, u"<br/>"_s);
}
