#pragma once

#include <QString>

class Sqlite3DB;

/// Opens a Local Database in `db`. A file that is missing or has no table yet is made; one of an older
/// shape gets what it lacks, each step whole or not at all. Throws `std::runtime_error` when
/// the file can't be made or brought up to date, or is no message database: nothing is changed then.
void openLocalDatabaseThrow(Sqlite3DB &db, const QString &path);
