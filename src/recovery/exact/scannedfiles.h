#pragma once

#include "app/interruptdelay.h"
#include "recovery/exact/exactscan.h"

#include <QFile>
#include <QTemporaryDir>

#include <memory>

/// The bytes of a database that is somebody else's, and of what SQLite left beside it. Nothing is folded into
/// anything. A file that a program may be writing to, which is one with a log or a journal, is copied first.
class ScannedFiles
{
public:
    /// Throws `std::runtime_error` where a file can't be read or copied.
    explicit ScannedFiles(const QString &path);

    /// Lives as long as this object.
    const DatabaseBytes &bytes() const { return mapped; }

private:
    QByteArrayView map(const QString &path);

    InterruptDelay delay;                  // longer than the folder
    std::unique_ptr<QTemporaryDir> folder; // before the files, which are closed first
    std::vector<std::unique_ptr<QFile>> files;
    DatabaseBytes mapped;
};
