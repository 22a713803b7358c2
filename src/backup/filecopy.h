#pragma once

#include <QByteArrayView>

#include <functional>

class FileCipher;
class QFile;
class QString;

/// Told, after each piece that is written, of how many bytes of the source that makes. It may throw to end
/// the copy.
using CopyReport = std::function<void(qint64 total, qint64 done)>;

/// Writes what is left of `source` to `target`, both open, through `cipher` unless it is null. A large file
/// is read and deciphered on another thread, which works ahead while this one writes and reports. Throws
/// `std::runtime_error` naming the file.
void copyFile(QFile &source, QFile &target, FileCipher *cipher, const CopyReport &report = {});

/// Deciphers the file `from`, which is from a newer backup, with a file key of 32 bytes into the new file
/// `to`. Throws `std::runtime_error` naming the file.
void decipherFile(const QString &from, const QString &to, QByteArrayView key);
