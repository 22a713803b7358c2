#pragma once

#include <QLatin1StringView>

#include <initializer_list>

class Sqlite3DB;

/// A table and its columns in the words of SQL.
struct TableShape {
    QLatin1StringView name;
    QLatin1StringView columns;
};

/// Puts an empty table in the place of each of these that the file lacks, so that what is there can be read.
/// It is not written into the file, and goes when the connection closes. It hides a view of that name.
void standInForMissing(Sqlite3DB &db, std::initializer_list<TableShape> shapes);
