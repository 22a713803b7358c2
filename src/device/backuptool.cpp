#include "device/backuptool.h"

#include "device/devicesession.h"
#include "device/mobiledevice.h"

#include <QDateTime>
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
constexpr auto goneText = "The phone was disconnected. Connect it and try again.";
constexpr qint64 usualSeconds = 60;         // where the phone doesn't say how full it is
constexpr double secondsPerMegabyte = 0.03; // of used space, for backup and restore alike
constexpr double mostPercent = 99.0;        // the end of the job closes the dialog

/// What one channel of the tool printed, up to a NUL byte. A tool that never stops printing costs no memory:
/// only the end is kept, and whether the word "error" came at any time.
class Printed
{
public:
    void add(const QByteArray &piece)
    {
        if (isCut)
            return;
        const qsizetype nul = piece.indexOf('\0');
        isCut = nul >= 0;
        const qsizetype overlap = std::min<qsizetype>(kept.size(), qsizetype(strlen("error")) - 1);
        kept += isCut ? piece.first(nul) : piece;
        const qsizetype searched = kept.size() - (isCut ? nul : piece.size()) - overlap;
        sawError |= kept.sliced(searched).toLower().contains("error");
        if (kept.size() > 2 * mostKept)
            kept = kept.last(mostKept);
    }

    QByteArray text() const { return kept; }
    bool hasError() const { return sawError; }
    bool endsAll() const { return isCut; }

private:
    static constexpr qsizetype mostKept = 1024 * 1024; // bytes

    QByteArray kept;
    bool isCut = false;
    bool sawError = false;
};

/// Both channels: errors first, and nothing behind a NUL byte in them.
struct ToolOutput {
    Printed errors;
    Printed words;

    void take(QProcess &tool)
    {
        errors.add(tool.readAllStandardError());
        words.add(tool.readAllStandardOutput());
    }

    bool hasError() const { return errors.hasError() || (!errors.endsAll() && words.hasError()); }
    bool endsWell() const
    {
        const QByteArray all = words.text().trimmed();
        return all.sliced(all.lastIndexOf('\n') + 1).toLower().contains("successful");
    }
    QString text() const
    {
        return QString::fromLatin1(errors.endsAll() ? errors.text() : errors.text() + '\n' + words.text());
    }
};

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
        const QList<CFType> values = mobiledevice_copy_values(device, {QString()}, u"com.apple.disk_usage"_s);
        if (values.isEmpty())
            return usualSeconds;
        const qint64 total = values.first().dictionaryValue(u"TotalDataCapacity"_s).toLongLong(0);
        const qint64 available = values.first().dictionaryValue(u"AmountDataAvailable"_s).toLongLong(0);
        const qint64 usedMB = qint64(quint64(total) - quint64(available)) / 1024 / 1024; // can't overflow
        return usedMB <= 0 ? usualSeconds : qint64(double(usedMB) * secondsPerMegabyte);
    } catch (const std::exception &error) {
        qDebug("no estimate of the time that a backup takes: %s", error.what());
        return usualSeconds;
    }
}

void backup2tool::tick(qint64 startSeconds, qint64 estimate)
{
    const qint64 elapsed = QDateTime::currentSecsSinceEpoch() - startSeconds;
    if (estimate > 0)
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
    return ticksAlone > (op == 1 ? mostTicksAloneRestoring : mostTicksAlone) ? goneText : "";
}

void backup2tool::run(const backup2tool_op &op)
{
    percent = 0;
    const qint64 estimate = estimatedSeconds();
    const BackupToolCommand command = backupToolCommand(op.op, target, root);
    if (!cancelled && !mobiledevice_is_here(device))
        throw std::runtime_error(goneText);
    ToolOutput output;
    QProcess tool;
    tool.start(command.program, command.arguments, QIODevice::ReadOnly);
    if (!tool.waitForStarted(startTimeoutMs))
        throw std::runtime_error("can not start AppleMobileBackup process.");
    const qint64 start = QDateTime::currentSecsSinceEpoch();
    std::string why;
    const auto takeOutput = [&] { output.take(tool); };
    const auto goesOn = [&] {
        tick(start, estimate);
        why = trouble(op.op);
        return !cancelled && why.empty();
    };
    if (!cancelled)
        follow(tool, takeOutput, goesOn);
    const bool hasEnded = tool.state() == QProcess::NotRunning;
    if (!hasEnded) {
        tool.kill();
        tool.waitForFinished();
    }
    output.take(tool);
    qDebug().noquote() << output.text();
    if (why.empty() && !cancelled)
        why = trouble(op.op);
    if (!why.empty())
        throw std::runtime_error(why);
    if (hasEnded)
        judge(tool, output, command.tellsAtItsEnd);
}
