#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

// Real processes for tests that kill, starve or lock out what they test. Linux only: elsewhere
// `hasChildProcesses` is false.

bool hasChildProcesses();

/// Runs `work` in a child process and kills it after `microseconds`, -1 for never. Returns whether it ended
/// by itself with true.
bool runAndKill(const std::function<bool()> &work, qint64 microseconds);

/// Runs `work` in a child process and hands back what it returns.
QString resultOfChild(const std::function<QString()> &work);

/// Gives this process, which must be a child of its own, a file system of `bytes` at `folder` that nobody
/// else sees. Returns false where that isn't allowed.
bool mountSmallDisk(const QString &folder, qint64 bytes);
/// Makes that file system read-only, or writable again.
bool setDiskWritable(const QString &folder, bool writable);
