#include "boxes.h"

#include "errorreport.h"
#include "product.h"
#include "stylesheet.h"
#include "winmovable.h"

#include <QMessageBox>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

// In the order in which they are added.
constexpr std::array offeredButtons{QMessageBox::Yes, QMessageBox::No, QMessageBox::Ok, QMessageBox::Cancel};

QString errorBoxText(const QString &text)
{
    return u"An Error Occurred. <br/><br/>%1<br/><br/> Or you can contact %2 for help."_s.arg(
        plainInBox(text), supportAddress().toHtmlEscaped());
}

} // namespace

int showMessage(int icon, const QString &text, int buttons)
{
    QMessageBox box(QMessageBox::Icon(icon), productName(), text, QMessageBox::NoButton, nullptr,
                    Qt::Dialog | Qt::FramelessWindowHint);
    const WinMovable movable(&box);
    box.setStyleSheet(loadStyleSheet());
    box.setTextFormat(Qt::RichText);
    box.setAccessibleName(productName());
    for (const QMessageBox::StandardButton button : offeredButtons)
        if (buttons & button)
            box.addButton(button);
    return box.exec();
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

void showError(const QString &text)
{
    showMessage(QMessageBox::Critical, errorBoxText(text), QMessageBox::Ok);
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
    static const QRegularExpression noBreak(u"<(?! *br */?>)"_s, QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression lineEnd(u"\\r?\\n"_s);
    return QString(text).replace(noBreak, u"&lt;"_s).replace(lineEnd, u"<br/>"_s);
}
