#pragma once

#include <QHash>
#include <QString>

#include <memory>

class QTemporaryDir;
class Sqlite3DB;

/// Opens a database of somebody else's so that reading leaves it and its write-ahead log as they lie, and
/// so that it can be read on a read-only medium too. Where SQLite can't do that with the file in its
/// place, `db` gets a copy in the folder that is returned (else null): keep it as long as `db` is open.
///
/// The connection can write, where the file and its folder can be written. Throws `std::runtime_error`
/// when `path` is missing, damaged at its start or no database.
std::unique_ptr<QTemporaryDir> openUntouchedThrow(Sqlite3DB &db, const QString &path);

/// The tables of a database: name to the text that created it.
QHash<QString, QString> tableTexts(Sqlite3DB &db);
