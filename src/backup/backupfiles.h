#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

class QLockFile;

/// Throws `std::runtime_error` with the name of `file`, what went wrong with it by its own account, and
/// `advice`, if any.
[[noreturn]] void throwFileError(const QFile &file, const QString &advice = {});

/// Opens an ordinary file for reading, past Qt's buffer. A pipe or a device, which could keep the
/// program waiting, is refused. Throws naming the file.
void openForReading(QFile &file);

/// All of a file that is at most `mostBytes` long. Throws naming the file. `file` stays open.
QByteArray readWholeFile(QFile &file, qint64 mostBytes);

/// Takes `lock`, which guards `folder`, also from a program that was killed while it held it or was just
/// writing it. Throws naming the folder: with what its holder does ("another program is loading this
/// backup"), or that the lock's file can't be made.
void lockThrow(QLockFile &lock, const QDir &folder, const QString &holder);
