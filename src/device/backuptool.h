#pragma once

#include <QDir>
#include <QObject>
#include <QStringList>

#include <atomic>
#include <optional>

class QProcess;
class ToolOutput;

/// What a run of the tool does.
struct backup2tool_op {
    int op = 0; ///< 0 backs the phone up, 1 restores it
};

/// Drives the command-line tool that brings a whole backup off a phone or puts one back. How far it is, it
/// tells or is guessed from the time that has passed; whether it failed, its output tells
/// (`BackupToolCommand`).
class backup2tool : public QObject
{
    Q_OBJECT

public:
    /// `identifier` is the phone's identifier, and the name of its backup's folder below `folder`.
    backup2tool(void *handle, const QString &identifier, const QDir &folder, QObject *parent = nullptr);

    /// Blocks until the tool has ended or `cancel` was called, which ends it and is no failure: what it wrote
    /// stays. Throws `std::runtime_error` with all that the tool printed when it failed, and when the disk
    /// ran full or the phone has gone and the tool doesn't find out.
    void run(const backup2tool_op &op);

    /// Another folder than that of the constructor, before `run`.
    void setRoot(const QDir &folder) { root = folder; }

    /// How many bytes of the disk have to stay free in a backup: a tool may cut files without a word on a
    /// full one, and a backup with cut files, put back, would take the phone's own.
    void setLeastRoom(qint64 bytes) { leastRoom = bytes; }

    /// How long a tool that was asked to end may take before it is killed: 10 s unless told otherwise.
    void setPatience(int milliseconds) { patienceMs = milliseconds; }

    bool isCancelled() const { return cancelled; }
    QString status1() const { return firstStatus; }
    QString status2() const { return secondStatus; }
    double progress() const { return percent; } ///< 0 to 99

public Q_SLOTS:
    /// Any thread, also before `run`. The tool is asked to end within a fifth of a second.
    void cancel() { cancelled = true; }

Q_SIGNALS:
    /// Five times a second at most, on the thread of `run`.
    void update(double progress, const QString &status1, const QString &status2);

private:
    qint64 estimatedSeconds() const;
    std::string followToItsEnd(QProcess &tool, ToolOutput &output, int op, qint64 estimate);
    void stop(QProcess &tool, ToolOutput &output, bool gently) const;
    void tick(qint64 startSeconds, qint64 estimate, std::optional<int> told);
    std::string trouble(int op);

    void *device;
    QString target;
    QDir root;
    QString firstStatus;
    QString secondStatus;
    double percent = 0;
    std::optional<int> toldPercent; ///< by the tool itself
    int patienceMs = 10'000;
    std::atomic_bool cancelled = false;
    qint64 leastRoom = 64 * 1024 * 1024;
    int ticksAlone = 0; ///< since the phone has gone
};

/// The tool of this system and its arguments, which differ from one system to the next.
struct BackupToolCommand {
    QString program;
    QStringList arguments;
    bool tellsAtItsEnd = false; ///< it went well with code 0 and "successful" in the last line, and only
                                ///< then; else it failed when the word "error" stands anywhere
    bool stopsGently = false;   ///< it ends what it does when it is asked to terminate
};

/// Throws `std::runtime_error` when `op` is neither of the two.
BackupToolCommand backupToolCommand(int op, const QString &target, const QDir &root);
