#pragma once

#include "sqlite_qt/sqlite3cursor.h"
#include "store/records/columntables.h"

#include <vector>

/// Reads the extras of the rows of one query. Which columns there are is looked up once.
class ExtrasReader
{
public:
    explicit ExtrasReader(const Sqlite3Cursor &cursor);

    /// The extras of the row on which `cursor` stands; null when it has nothing of the kind.
    MessageExtrasPtr read(const Sqlite3Cursor &cursor) const;

private:
    struct Column {
        int position;
        const RecordColumn<MessageExtras> *column;
    };
    std::vector<Column> telling; ///< that make a message one that has extras
    std::vector<Column> all;
};
