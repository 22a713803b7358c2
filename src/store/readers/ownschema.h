#pragma once

class Sqlite3DB;

/// Adds to a Local Database the columns and tables of our own that it lacks: what newer phones keep about a
/// message, each column with an underscore before the phone's name, behind the given ones. All of it comes
/// in one step or not at all. Throws `std::runtime_error`.
void addOwnSchemaThrow(Sqlite3DB &db);
