#include "ui/phonenotice.h"

#include "device/mobiledevice.h"
#include "ui/flows/viewswitches.h"
#include "ui/mainwindow.h"
#include "ui/views/noticebar.h"

#include <QSettings>
#include <QStandardPaths>

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
    auto *bar = new NoticeBar(u"phoneNotice"_s, QObject::tr("IDS_PHONES_NEED_%1").arg(all));
    QObject::connect(bar, &NoticeBar::closed, bar, [all] { viewSettings().setValue(closedKey, all); });
    window.showOnTop(bar);
}
