#include "ui/flows/devicearrival.h"

#include "backup/backupmanifest.h"
#include "device/backuptempdir.h"
#include "sources/opensource.h"
#include "sources/phones.h"
#include "store/readers/openmessagedb.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/countryselform.h"
#include "ui/dialogs/passcodedlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/devicejobs.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"

using namespace Qt::StringLiterals;

namespace
{

/// The code that the phone tells, or the one that the person picks where that says nothing.
QString countryOf(const IOSDevice &phone, QWidget *window)
{
    if (isKnownCountry(phone.mobileSubscriberCountryCode))
        return phone.mobileSubscriberCountryCode;
    const QString asked = askCountry(window);
    return asked.isEmpty() ? phone.mobileSubscriberCountryCode : asked;
}

bool readByFileRelay(IOSDevice &phone, QWidget *window)
{
    ProgressForm form(QString(), window);
    IOSLoadFileRelayThread job(&phone, &form);
    return runUnder(form, job);
}

bool readByBackup(const IOSDevice &phone, QWidget *window)
{
    if (!checkBackupOptions(phone, true, false, window))
        return false;
    PhoneBackupLock lock(phone);
    const std::optional<QDir> folder = backUpPhone(phone, lock, window);
    if (!folder)
        return false;
    BackupManifest manifest(folder->absolutePath());
    manifest.loadInfo();
    lock.release();
    if (manifest.isEncrypted && PasscodeDlg(&manifest, window).exec() != QDialog::Accepted)
        return false;
    lock.take();
    runBusy(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), window, [&] { manifest.loadIndex(); });
    ProgressForm form(QString(), window);
    ITunesCacheSMSThread job(&manifest, phone.cacheDir(), &form);
    return runUnder(form, job);
}

} // namespace

std::optional<ReadPhone> readPhone(void *handle, QWidget *window)
{
    std::optional<IOSDevice> answer = askPhone(handle, window);
    if (!answer)
        return std::nullopt;
    IOSDevice &phone = *answer;
    phone.mobileSubscriberCountryCode = countryOf(phone, window);
    if (!(hasFileRelay(phone) ? readByFileRelay(phone, window) : readByBackup(phone, window)))
        return std::nullopt;
    return ReadPhone{phone,
                     QSharedPointer<AbsIOSMessageDb>(
                         openMessageDb(phone.cacheDir(), phone.mobileSubscriberCountryCode).release())};
}
