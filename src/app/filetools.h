#pragma once

#include <QDir>
#include <QString>

#include <optional>

class QFile;

/// `path` if nothing stands there, else "name(1).suffix", "name(2).suffix" and on in the same
/// folder. The name is cut at its first dot: "a.b.c" gives "a(1).c".
QString uniqueFileName(const QString &path);

/// Gives a file or a folder the name `to` in one step; a file that has that name is replaced. Throws
/// `std::runtime_error`, which names `to`.
void renameThrow(const QString &from, const QString &to);

/// Removes a folder with what it holds. Hidden files stay, and so do the folders around them;
/// links are removed, never followed. Failures are ignored: look at what is left if it matters.
void removeTree(const QString &folder);

/// Lays a `CACHEDIR.TAG` (bford.info/cachedir) into a folder of copies, so that programs that make backups
/// may leave it out. One that can't be laid is logged: the copies are of use all the same.
void markAsCache(const QDir &folder);

/// `name` without the characters `\ / : * ? " < > |`, trimmed.
QString safeFileName(const QString &name);

/// Whether `component` can name a file or folder right below another one: not empty, no dots alone, no drive,
/// no backslash, no NUL.
bool isPlainComponent(QStringView component);

/// The path of `name` below `root`, or nothing when `name` would leave `root`: through "..", an
/// absolute path, a drive letter, a NUL byte or a link on the way. `name` may hold several
/// components, split at "/"; every name that comes out of a backup, an archive or a database passes
/// through here before it touches the disk.
std::optional<QString> pathBelow(const QDir &root, const QString &name);

/// Lower-case hex of the MD5 of the UTF-8 of `text`, 32 digits.
QString md5Hex(const QString &text);

/// Throws `std::runtime_error` with `text`, where `%1` becomes the file's name and `%2` its last error.
[[noreturn]] void throwFileError(const QString &text, const QFile &file);
