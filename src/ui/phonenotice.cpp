#include "ui/phonenotice.h"

#include "device/mobiledevice.h"
#include "ui/flows/viewswitches.h"
#include "ui/mainwindow.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSettings>
#include <QStandardPaths>
#include <QStyle>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace
{

const QString closedKey = u"phoneNoticeClosed"_s; ///< what the bar said that was closed

bool isInstalled(const QString &program)
{
    const QStringList forDaemons = {u"/usr/sbin"_s, u"/usr/local/sbin"_s, u"/sbin"_s};
    return !QStandardPaths::findExecutable(program).isEmpty() ||
           !QStandardPaths::findExecutable(program, forDaemons).isEmpty();
}

QToolButton *closeButton(QWidget *bar, const QString &text)
{
    auto *button = new QToolButton(bar);
    button->setObjectName(u"btnCloseNotice"_s);
    button->setAutoRaise(true);
    button->setIcon(bar->style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    button->setToolTip(u"Close"_s);
    button->setAccessibleName(u"Close"_s);
    QObject::connect(button, &QToolButton::clicked, bar, [bar, text] {
        viewSettings().setValue(closedKey, text);
        bar->hide();
    });
    return button;
}

} // namespace

QStringList missingForPhones()
{
    QStringList missing;
    if (!mobiledevice_is_loaded())
        missing.append(QObject::tr("IDS_NO_PHONE_LIBRARY"));
    else if (!isInstalled(u"usbmuxd"_s) && !mobiledevice_can_reach_phones())
        missing.append(QObject::tr("IDS_NO_PHONE_SERVICE"));
    if (!isInstalled(u"idevicebackup2"_s))
        missing.append(QObject::tr("IDS_NO_PHONE_BACKUP_TOOL"));
    return missing;
}

void showPhoneNotice(MainWindow &window, const QStringList &missing)
{
    const QString all = missing.join(u", "_s);
    if (missing.isEmpty() || viewSettings().value(closedKey).toString() == all)
        return;
    auto *bar = new QWidget;
    bar->setObjectName(u"phoneNotice"_s);
    auto *text = new QLabel(QObject::tr("IDS_PHONES_NEED_%1").arg(all), bar);
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(8, 4, 4, 0);
    layout->addWidget(text, 1);
    layout->addWidget(closeButton(bar, all), 0, Qt::AlignTop);
    window.showOnTop(bar);
}
