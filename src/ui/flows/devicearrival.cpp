#include "ui/flows/devicearrival.h"

#include "backup/backupmanifest.h"
#include "backup/extractmessages.h"
#include "device/backuptempdir.h"
#include "device/backupworkspace.h"
#include "sources/opensource.h"
#include "sources/phones.h"
#include "store/readers/openmessagedb.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/countryselform.h"
#include "ui/dialogs/passcodedlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/flows/viewswitches.h"
#include "ui/jobs/devicejobs.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"

#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace
{

/// The code that the phone tells, or the one that the person picked for it where that says nothing.
QString countryOf(const IOSDevice &phone, QWidget *window)
{
    if (isKnownCountry(phone.mobileSubscriberCountryCode))
        return phone.mobileSubscriberCountryCode;
    const QString key = u"countries/"_s + phone.uniqueDeviceID;
    const QString picked = viewSettings().value(key).toString();
    if (isKnownCountry(picked))
        return picked;
    const QString asked = askCountry(window);
    if (asked.isEmpty())
        return phone.mobileSubscriberCountryCode;
    viewSettings().setValue(key, asked);
    return asked;
}

bool readByFileRelay(IOSDevice &phone, QWidget *window)
{
    ProgressForm form(QString(), window);
    IOSLoadFileRelayThread job(&phone, &form);
    return runUnder(form, job);
}

/// The messages of the backup in `folder` come into the cache of the phone.
bool extractBackup(const IOSDevice &phone, const QDir &folder, PhoneBackupLock &lock, QWidget *window)
{
    BackupManifest manifest(folder.absolutePath());
    manifest.loadInfo();
    lock.release();
    if (manifest.isEncrypted && PasscodeDlg(&manifest, window).exec() != QDialog::Accepted)
        return false;
    lock.take();
    runBusy(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), window, [&] { manifest.loadIndex(); });
    ProgressForm form(QString(), window);
    ITunesCacheSMSThread job(&manifest, phone.cacheDir(), Attachments::Copied, &form);
    return runUnder(form, job);
}

enum class Wish { LastBackup, NewBackup, Nothing };

/// What the person wants of a phone whose last backup is whole.
Wish askWish(const QDir &last)
{
    BackupManifest manifest(last.absolutePath());
    manifest.loadInfo();
    const QString date = QLocale::system().toString(manifest.backupDate.toLocalTime(), QLocale::ShortFormat);
    const auto box = messageBox(QMessageBox::Question, QObject::tr("IDS_USE_LAST_BACKUP_%1").arg(date),
                                QMessageBox::Cancel);
    const QPushButton *update = box->addButton(QObject::tr("IDS_MAKE_NEWER_BACKUP"), QMessageBox::AcceptRole);
    const QPushButton *use = box->addButton(QObject::tr("IDS_READ_LAST_BACKUP"), QMessageBox::ActionRole);
    box->exec();
    return box->clickedButton() == use      ? Wish::LastBackup
           : box->clickedButton() == update ? Wish::NewBackup
                                            : Wish::Nothing;
}

bool readByBackup(const IOSDevice &phone, QWidget *window)
{
    const QDir last = backupFolderOf(phone);
    const Wish wish = isWholeBackup(last) ? askWish(last) : Wish::NewBackup;
    if (wish == Wish::Nothing || (wish == Wish::NewBackup && !checkBackupOptions(phone, true, false, window)))
        return false;
    PhoneBackupLock lock(phone);
    const std::optional<QDir> folder =
        wish == Wish::LastBackup ? std::optional(last) : backUpPhone(phone, lock, window);
    return folder && extractBackup(phone, *folder, lock, window);
}

} // namespace

std::optional<ReadPhone> readPhone(void *handle, QWidget *window)
{
    std::optional<IOSDevice> answer = askPhone(handle, window);
    if (!answer)
        return std::nullopt;
    IOSDevice &phone = *answer;
    phone.mobileSubscriberCountryCode = countryOf(phone, window);
    const bool isRelayed = hasFileRelay(phone);
    if (!(isRelayed ? readByFileRelay(phone, window) : readByBackup(phone, window)))
        return std::nullopt;
    ReadPhone result = {phone,
                        QSharedPointer<AbsIOSMessageDb>(
                            openMessageDb(phone.cacheDir(), phone.mobileSubscriberCountryCode).release()),
                        0};
    if (!isRelayed)
        runBusy(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), window,
                [&] { result.backupBytes = sizeOfFolder(backupFolderOf(phone)); });
    return result;
}
