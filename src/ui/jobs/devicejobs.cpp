#include "ui/jobs/devicejobs.h"

#include "app/freespace.h"
#include "device/backupoptions.h"
#include "device/backuptempdir.h"
#include "device/backupworkspace.h"
#include "device/devicebackupjobs.h"
#include "device/devicesession.h"
#include "device/mobiledevice.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/jobrunner.h"

#include <QMessageBox>
#include <QPushButton>
#include <QStorageInfo>

#include <chrono>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

namespace
{

bool runTool(ProgressForm &form, BackupToolThread &job)
{
    QObject::connect(&form, &ProgressForm::userCacel, &job, &BackupToolThread::cancel);
    return runUnder(form, job);
}

/// False for a refusal that the person may not or doesn't override.
bool isOverridden(const BackupRefusal &refusal)
{
    const QString picture = u":/"_s + refusal.picture.mid(1);
    const auto box =
        messageBox(QMessageBox::Critical, u"%1<br/><br/><img src=\"%2\"/>"_s.arg(refusal.text, picture),
                   refusal.mayBeIgnored ? QMessageBox::Cancel : QMessageBox::Ok);
    const QPushButton *readAnyway =
        refusal.mayBeIgnored ? box->addButton(QObject::tr("IDS_READ_ANYWAY"), QMessageBox::AcceptRole)
                             : nullptr;
    box->exec();
    return readAnyway && box->clickedButton() == readAnyway;
}

/// A first backup is as large as what the phone holds at most, and often much smaller: people decide.
bool hasSpaceFor(const IOSDevice &phone, qint64 used)
{
    const QDir folder = iosBackupTempDir();
    const qint64 available = QStorageInfo(QFileInfo(folder.absolutePath()).absolutePath()).bytesAvailable();
    return used <= available || isWholeBackup(backupFolderOf(phone)) ||
           askYesNo(QObject::tr("IDS_PHONE_MAY_NOT_FIT_%1_%2_%3")
                        .arg(sizeText(used), QDir::toNativeSeparators(folder.absolutePath()).toHtmlEscaped(),
                             sizeText(available)));
}

/// Asks again until the owner of the phone has answered it, or the person gave up.
bool isTrusted(void *handle, const Patience &patience)
{
    constexpr auto betweenQuestions = std::chrono::milliseconds(1000);
    while (!mobiledevice_is_trusted(handle)) {
        patience.say(QObject::tr("IDS_UNLOCK_AND_TRUST"));
        std::this_thread::sleep_for(betweenQuestions);
        if (patience.isOver())
            return false;
        if (!mobiledevice_is_here(handle))
            throw std::runtime_error(phoneGoneText);
    }
    return true;
}

} // namespace

std::optional<IOSDevice> askPhone(void *handle, QWidget *window)
{
    const auto phone = std::make_shared<std::optional<IOSDevice>>();
    const bool isAnswered =
        runUnlessLeft(QObject::tr("IDS_CONNECTING_TO_PHONE"), window, [=](const Patience &patience) {
            if (isTrusted(handle, patience))
                *phone = readDevice(handle);
        });
    return isAnswered ? *phone : std::nullopt;
}

bool checkBackupOptions(const IOSDevice &phone, bool checkCloudBackup, bool checkEncryption, QWidget *window)
{
    struct Answer {
        std::optional<BackupRefusal> refusal;
        qint64 used = 0;
    };
    const auto answer = std::make_shared<Answer>();
    const bool isAnswered =
        runUnlessLeft(QObject::tr("IDS_CONNECTING_TO_PHONE"), window, [=](const Patience &) {
            answer->refusal = backupRefusal(phone, checkCloudBackup, checkEncryption);
            answer->used = usedBytes(phone.device);
        });
    return isAnswered && (!answer->refusal || isOverridden(*answer->refusal)) &&
           hasSpaceFor(phone, answer->used);
}

std::optional<QDir> backUpPhone(IOSDevice phone, PhoneBackupLock &lock, QWidget *window)
{
    ProgressForm form(QString(), window);
    IOSMobileBackupThread job(&phone, &form);
    job.setLock(&lock);
    if (!runTool(form, job))
        return std::nullopt;
    return QDir(job.backupRoot().absoluteFilePath(phone.uniqueDeviceID));
}

bool restorePhone(IOSDevice phone, const QDir &folder, PhoneBackupLock &lock, QWidget *window)
{
    ProgressForm form(QString(), window);
    QDir root = folder;
    root.cdUp();
    IOSMobileRestoreThread job(&phone, root, &form);
    job.setLock(&lock);
    return runTool(form, job);
}
