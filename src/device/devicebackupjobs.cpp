#include "device/devicebackupjobs.h"

#include "app/filetools.h"
#include "app/jobprogress.h"
#include "app/plistvalue.h"
#include "app/product.h"
#include "device/backuptempdir.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

PlistValue readList(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? PlistValue::parse(file.readAll()) : PlistValue();
}

QString escaped(QString text)
{
    return text.replace(u'<', "&lt;"_L1).replace(u'>', "&gt;"_L1);
}

QString withRestartNote(const QString &text)
{
    return text + "<br/><br/>Note: You can restart your device to try again."_L1;
}

} // namespace

bool canContinueBackup(const QDir &folder, const QString &productVersion)
{
    const QString status = folder.absoluteFilePath(u"Status.plist"_s);
    const QString manifest = folder.absoluteFilePath(u"Manifest.plist"_s);
    const bool isThere = QFile::exists(status) && QFile::exists(manifest) &&
                         (folder.exists(u"Manifest.mbdb"_s) || folder.exists(u"Manifest.db"_s));
    return isThere && readList(status).value(u"SnapshotState"_s).toString() == "finished"_L1 &&
           readList(manifest).value(u"Lockdown"_s).value(u"ProductVersion"_s).toString() == productVersion;
}

QString backupFailureText(const QString &output)
{
    return withRestartNote(escaped(output));
}

QString restoreFailureText(const QString &output)
{
    static const QRegularExpression noRoom(
        u"Insufficient free disk space on device to restore \\((\\d+) [^\\d]+ (\\d+)\\)"_s,
        QRegularExpression::CaseInsensitiveOption);
    constexpr double perKibi = 0.0009765625;
    const QString text = escaped(output);
    if (text.contains("Find My iPhone must be disabled"_L1, Qt::CaseInsensitive))
        return u"Please follow <a href=\"%1\"> this tutorial</a> to disable \"Find my iPhone\" first and "
               u"then "
               "restart your iPhone to try again.<br/><br/>"_s.arg(websiteAddress().toHtmlEscaped());
    const QRegularExpressionMatch match = noRoom.match(text);
    if (match.hasMatch()) {
        const double gibibytes = double(match.captured(2).toLongLong()) * perKibi * perKibi * perKibi;
        return u"%1 GB free disk space on your device is required restore data.  Please remove some camera "
               "roll videos from your device to computer to free up disk space first and then try again."_s
                   .arg(gibibytes, 0, 'g', 1);
    }
    return withRestartNote(text);
}

BackupToolThread::BackupToolThread(IOSDevice *phone, const QDir &folder, JobProgress *jobProgress,
                                   QObject *parent)
    : QThread(parent)
    , device(phone)
    , root(folder)
    , progress(jobProgress)
    , tool(new backup2tool(phone->device, phone->uniqueDeviceID, folder))
{
    connect(tool, &backup2tool::update, this, &BackupToolThread::backupUpdate);
}

BackupToolThread::~BackupToolThread()
{
    tool->deleteLater();
}

// The dialog shows the percentage alone.
void BackupToolThread::backupUpdate(double percent, QString, QString)
{
    progress->updateProgress({}, int(percent), {});
}

IOSMobileBackupThread::IOSMobileBackupThread(IOSDevice *phone, JobProgress *jobProgress, QObject *parent)
    : BackupToolThread(phone, iosBackupTempDir(), jobProgress, parent)
{
}

void IOSMobileBackupThread::run()
{
    const std::optional<QString> folder = pathBelow(root, device->uniqueDeviceID);
    progress->updateProgress(u"Loading data from Device..."_s, 0, {});
    try {
        if (!folder)
            throw std::runtime_error("The phone gives an identifier that names no folder.");
        makeIosBackupTempDir(); // not every tool makes it
        if (QFileInfo::exists(*folder) && !canContinueBackup(QDir(*folder), device->productVersion))
            removeTree(*folder);
        tool->run({0});
        progress->succeed({});
    } catch (const std::exception &error) {
        if (folder)
            removeTree(*folder);
        failJob(*progress, backupFailureText(QString::fromUtf8(error.what())));
    }
}

IOSMobileRestoreThread::IOSMobileRestoreThread(IOSDevice *phone, const QDir &folder, JobProgress *jobProgress,
                                               QObject *parent)
    : BackupToolThread(phone, folder, jobProgress, parent)
{
}

void IOSMobileRestoreThread::run()
{
    progress->updateProgress(u"Transferring data to Device..."_s, 0, {});
    try {
        tool->run({1});
        progress->succeed({});
    } catch (const std::exception &error) {
        failJob(*progress, restoreFailureText(QString::fromUtf8(error.what())));
    }
}
