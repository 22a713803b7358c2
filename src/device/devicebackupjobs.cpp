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

/// The tool prints a line for each file. Those that tell of a failure say why, and so may the last one.
QString linesThatMatter(const QString &output)
{
    constexpr qsizetype mostWhole = 6;
    constexpr qsizetype mostTold = 4;
    static const QRegularExpression tells(u"^(?!Sending |Receiving ).*(error|fail|denied)"_s,
                                          QRegularExpression::CaseInsensitiveOption);
    const QStringList lines = output.trimmed().split(u'\n', Qt::SkipEmptyParts);
    if (lines.size() <= mostWhole)
        return output;
    QStringList told = lines.filter(tells);
    if (!told.contains(lines.last()))
        told.append(lines.last());
    told.removeDuplicates();
    return told.last(std::min(told.size(), mostTold)).join(u'\n');
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
    return withRestartNote(escaped(linesThatMatter(output)));
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
    return withRestartNote(escaped(linesThatMatter(output)));
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

void BackupToolThread::fail(const std::exception &error, QString (*textOf)(const QString &))
{
    const QString output = QString::fromUtf8(error.what());
    const QString text = textOf(output);
    if (!text.contains(escaped(output)))
        progress->noteDetails(output);
    failJob(*progress, text);
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
        fail(error, backupFailureText);
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
        fail(error, restoreFailureText);
    }
}
