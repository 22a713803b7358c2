#pragma once

#include "store/readers/absmessagedb.h"

#include <QDir>

#include <memory>

/// Path of the message database below the root folder of a source.
QString messageDbPath(const QDir &root);

/// Path of the file below `root` that keeps deleted messages which were found there. Nothing that was
/// copied from a phone, and not to be made again from it: it stays when a copy goes.
QString recycleDbPath(const QDir &root);

/// Path of the file below `root` that keeps what the exact scan found there. It stays too.
QString findsDbPath(const QDir &root);

/// The reader for the message database below `root`, by the generation of the file. `mcc` is the phone's
/// mobile country code, which may be empty. Throws `std::runtime_error` when there is no such file or
/// it is no database. The reader has the file open.
std::unique_ptr<AbsIOSMessageDb> openMessageDb(const QDir &root, const QString &mcc);
/// The same for a database at a path of its own; `root` takes what the program keeps of it.
std::unique_ptr<AbsIOSMessageDb> openMessageDb(const QDir &root, const QString &path, const QString &mcc);
