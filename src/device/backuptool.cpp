#include "backuptool.h"

#include "devicesession.h"

#include <QDateTime>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace
{

constexpr int startTimeoutMs = 60'000;
constexpr int tickMs = 200;
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
    QString text() const
    {
        return QString::fromLatin1(errors.endsAll() ? errors.text() : errors.text() + '\n' + words.text());
    }
};

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
        const qint64 usedMB = (total - available) / 1024 / 1024;
        return usedMB <= 0 ? usualSeconds : qint64(double(usedMB) * secondsPerMegabyte);
    } catch (const std::exception &error) {
        qDebug("no estimate of the time that a backup takes: %s", error.what());
        return usualSeconds;
    }
}

void backup2tool::tick(qint64 startSeconds, qint64 estimate)
{
    const quint32 elapsed = quint32(QDateTime::currentSecsSinceEpoch() - startSeconds);
    if (estimate > 0)
        percent = std::min(elapsed / double(estimate) * mostPercent, mostPercent);
    else
        percent = elapsed > 0 ? mostPercent : 0; // a nearly empty phone
    Q_EMIT update(percent, QString(), u"%1 seconds passed"_s.arg(elapsed));
}

void backup2tool::run(const backup2tool_op &op)
{
    percent = 0;
    const qint64 estimate = estimatedSeconds();
    const BackupToolCommand command = backupToolCommand(op.op, target, root);
    QProcess tool;
    tool.start(command.program, command.arguments, QIODevice::ReadOnly);
    if (!tool.waitForStarted(startTimeoutMs))
        throw std::runtime_error("can not start AppleMobileBackup process.");
    const qint64 start = QDateTime::currentSecsSinceEpoch();
    ToolOutput output;
    while (!cancelled && !tool.waitForFinished(tickMs)) {
        output.take(tool);
        tick(start, estimate);
    }
    if (tool.state() != QProcess::NotRunning) {
        tool.kill();
        tool.waitForFinished();
        return;
    }
    output.take(tool);
    qDebug().noquote() << output.text();
    if (tool.exitStatus() == QProcess::CrashExit)
        throw std::runtime_error("The backup tool crashed.\n" + output.text().toStdString());
    if (output.hasError())
        throw std::runtime_error(output.text().toStdString());
}
