#include "device/backuptool.h"

#include "device/iosdevice.h"
#include "device/mobiledevice.h"
#include "device/tooloutput.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QProcess>
#include <QStorageInfo>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{

constexpr int startTimeoutMs = 60'000;
constexpr int tickMs = 200;
constexpr int mostTicksAlone = 10;           // a tool may look for ever for a phone that was pulled
constexpr int mostTicksAloneRestoring = 300; // it may be back, under a new handle, or restart at the end
constexpr qint64 usualSeconds = 60;          // where the phone doesn't say how full it is
constexpr double secondsPerMegabyte = 0.03;  // of used space, for backup and restore alike
constexpr double mostPercent = 99.0;         // the end of the job closes the dialog

/// Until the tool has ended or `goesOn`, asked at each tick, says no. What is printed is taken at once: a
/// wait for the end alone would keep it all, and never come to a tick with a tool that prints without end.
void follow(QProcess &tool, const std::function<void()> &takeOutput, const std::function<bool()> &goesOn)
{
    QEventLoop loop;
    QTimer ticker;
    QObject::connect(&tool, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&tool, &QProcess::readyReadStandardError, &loop, takeOutput);
    QObject::connect(&tool, &QProcess::readyReadStandardOutput, &loop, takeOutput);
    QObject::connect(&ticker, &QTimer::timeout, &loop, [&] {
        if (!goesOn())
            loop.quit();
    });
    ticker.start(tickMs);
    if (tool.state() != QProcess::NotRunning)
        loop.exec();
}

/// Throws when a tool that has ended failed.
void judge(const QProcess &tool, const ToolOutput &output, bool tellsAtItsEnd)
{
    const std::string text = output.text().toStdString();
    if (tool.exitStatus() == QProcess::CrashExit)
        throw std::runtime_error("The backup tool crashed.\n" + text);
    if (!tellsAtItsEnd && output.hasError())
        throw std::runtime_error(text);
    if (tellsAtItsEnd && (tool.exitCode() != 0 || !output.endsWell()))
        throw std::runtime_error("The backup tool failed.\n" + text);
}

std::string fullDiskText(const QDir &root)
{
    static const QString text =
        u"%1: the disk is too full for a backup of the phone. Make room on it, or clear "
        "the cache files to have another disk chosen, and try again."_s;
    return text.arg(root.absolutePath()).toStdString();
}

} // namespace

backup2tool::backup2tool(void *handle, const QString &identifier, const QDir &folder, QObject *parent)
    : QObject(parent), device(handle), target(identifier), root(folder)
{
}

qint64 backup2tool::estimatedSeconds() const
{
    try {
        const qint64 usedMB = usedBytes(device) / 1024 / 1024;
        return usedMB <= 0 ? usualSeconds : qint64(double(usedMB) * secondsPerMegabyte);
    } catch (const std::exception &error) {
        qDebug("no estimate of the time that a backup takes: %s", error.what());
        return usualSeconds;
    }
}

void backup2tool::tick(qint64 startSeconds, qint64 estimate, std::optional<int> told)
{
    const qint64 elapsed = QDateTime::currentSecsSinceEpoch() - startSeconds;
    toldPercent = told ? told : toldPercent;
    if (toldPercent)
        percent = std::min(double(*toldPercent), mostPercent);
    else if (estimate > 0)
        percent = std::min(quint32(elapsed) / double(estimate) * mostPercent, mostPercent);
    else
        percent = elapsed > 0 ? mostPercent : 0; // a nearly empty phone
    Q_EMIT update(percent, QString(), u"%1 seconds passed"_s.arg(elapsed));
}

/// Why a run can't come to a good end, whatever the tool says of it; empty while it may.
std::string backup2tool::trouble(int op)
{
    const QStorageInfo disk(root.absolutePath());
    if (op == 0 && disk.isValid() && disk.bytesAvailable() < leastRoom)
        return fullDiskText(root);
    ticksAlone = mobiledevice_is_here(device) ? 0 : ticksAlone + 1;
    return ticksAlone > (op == 1 ? mostTicksAloneRestoring : mostTicksAlone) ? phoneGoneText : "";
}

void backup2tool::run(const backup2tool_op &op)
{
    percent = 0;
    const qint64 estimate = estimatedSeconds();
    const BackupToolCommand command = backupToolCommand(op.op, target, root);
    if (!cancelled && !mobiledevice_is_here(device))
        throw std::runtime_error(phoneGoneText);
    QProcess tool;
    tool.start(command.program, command.arguments, QIODevice::ReadOnly);
    if (!tool.waitForStarted(startTimeoutMs))
        throw std::runtime_error("can not start AppleMobileBackup process.");
    ToolOutput output;
    std::string why = followToItsEnd(tool, output, op.op, estimate);
    const bool hasEnded = tool.state() == QProcess::NotRunning;
    if (!hasEnded)
        stop(tool, output, command.stopsGently);
    output.take(tool);
    qDebug().noquote() << output.text();
    if (why.empty() && !cancelled)
        why = trouble(op.op);
    if (!why.empty())
        throw std::runtime_error(why);
    if (hasEnded)
        judge(tool, output, command.tellsAtItsEnd);
}

/// Until the tool has ended, was given up, or can't come to a good end; why it can't.
std::string backup2tool::followToItsEnd(QProcess &tool, ToolOutput &output, int op, qint64 estimate)
{
    const qint64 start = QDateTime::currentSecsSinceEpoch();
    std::string why;
    const auto goesOn = [&] {
        tick(start, estimate, output.percent());
        why = trouble(op);
        return !cancelled && why.empty();
    };
    if (!cancelled)
        follow(
            tool, [&] { output.take(tool); }, goesOn);
    return why;
}

/// A tool that is killed leaves the phone believing that it is synchronised.
void backup2tool::stop(QProcess &tool, ToolOutput &output, bool gently) const
{
    if (gently) {
        tool.terminate();
        const QDeadlineTimer patience(patienceMs);
        follow(
            tool, [&] { output.take(tool); }, [&] { return !patience.hasExpired(); });
    }
    if (tool.state() != QProcess::NotRunning) {
        tool.kill();
        tool.waitForFinished();
    }
}
