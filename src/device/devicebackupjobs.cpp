#include "device/devicebackupjobs.h"

#include "app/jobprogress.h"
#include "app/product.h"
#include "device/backuptempdir.h"
#include "device/backupworkspace.h"
#include "device/passcodewatch.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

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

/// The phone's own number for what went wrong, as the tool prints it; 0 for none.
int errorCodeIn(const QString &output)
{
    static const QRegularExpression code(u"MBErrorDomain/(\\d{1,9})|Error ?Code:? (\\d{1,9})"_s);
    const QRegularExpressionMatch match = code.match(output);
    return match.captured(match.lastCapturedIndex()).toInt();
}

/// What the number means to a person, in front of what the tool says.
QString withMeaning(const QString &output)
{
    const QString text = escaped(linesThatMatter(output));
    switch (errorCodeIn(output)) {
    case 105: return QObject::tr("IDS_PHONE_ERROR_NO_SPACE") + "<br/><br/>"_L1 + text;
    case 208: return QObject::tr("IDS_PHONE_ERROR_LOCKED") + "<br/><br/>"_L1 + text;
    default: return text;
    }
}

QString withRestartNote(const QString &text)
{
    return text + "<br/><br/>Note: You can restart your device to try again."_L1;
}

} // namespace

QString backupFailureText(const QString &output)
{
    return withRestartNote(withMeaning(output));
}

QString restoreFailureText(const QString &output)
{
    static const QRegularExpression noRoom(
        u"Insufficient free disk space on device to restore \\((\\d+) [^\\d]+ (\\d+)\\)"_s,
        QRegularExpression::CaseInsensitiveOption);
    constexpr double perKibi = 0.0009765625;
    const QString text = escaped(output);
    constexpr int findMyIPhoneIsOn = 211;
    if (text.contains("Find My iPhone must be disabled"_L1, Qt::CaseInsensitive) ||
        errorCodeIn(output) == findMyIPhoneIsOn)
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
    return withRestartNote(withMeaning(output));
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

void BackupToolThread::runTool(int op, const QString &status)
{
    progress->updateProgress(status, 0, {});
    const PasscodeWatch watch(device->device, [this, status](bool isAsking) {
        progress->updateProgress(isAsking ? QObject::tr("IDS_ENTER_PASSCODE_ON_PHONE") : status, -1, {});
    });
    tool->run({op});
}

void BackupToolThread::fail(const std::exception &error, QString (*textOf)(const QString &))
{
    const QString output = QString::fromUtf8(error.what());
    const QString text = textOf(output);
    if (!text.contains(escaped(output)))
        progress->noteDetails(output);
    if (lock)
        lock->release();
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
    const QString status = u"Loading data from Device..."_s;
    progress->updateProgress(status, 0, {});
    try {
        backupFolderOf(*device); // throws when it can't be one
        makeIosBackupTempDir();  // not every tool makes it
        BackupWorkspace workspace(root, device->uniqueDeviceID, device->productVersion, *progress);
        backUpInto(workspace, status);
        progress->succeed({});
    } catch (const std::exception &error) {
        fail(error, backupFailureText);
    } catch (int) {
        // Cancelled while the last backup was copied.
    }
}

void IOSMobileBackupThread::backUpInto(BackupWorkspace &workspace, const QString &status)
{
    tool->setRoot(workspace.toolRoot());
    try {
        runTool(0, status);
    } catch (...) {
        workspace.discard();
        throw;
    }
    if (!progress->cancelled && !tool->isCancelled())
        workspace.keep();
}

IOSMobileRestoreThread::IOSMobileRestoreThread(IOSDevice *phone, const QDir &folder, JobProgress *jobProgress,
                                               QObject *parent)
    : BackupToolThread(phone, folder, jobProgress, parent)
{
}

void IOSMobileRestoreThread::run()
{
    try {
        runTool(1, u"Transferring data to Device..."_s);
        progress->succeed({});
    } catch (const std::exception &error) {
        fail(error, restoreFailureText);
    }
}
