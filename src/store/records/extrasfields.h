#pragma once

#include "sqlite_qt/sqlite3cursor.h"
#include "sqlite_qt/sqlite3sql.h"
#include "store/records/messageextras.h"

#include <QLatin1StringView>

#include <span>
#include <variant>
#include <vector>

/// A column of `message` that goes into `MessageExtras`. A phone's column has the name as it stands here;
/// in a Local Database, where it is one of our own, an underscore comes before it.
struct ExtrasField {
    enum class Weight {
        Counts, ///< a message that has this has extras
        Beside, ///< kept only where something else counts: most messages hold it without being special
    };
    QLatin1StringView column;
    std::variant<int MessageExtras::*, bool MessageExtras::*, QString MessageExtras::*,
                 QByteArray MessageExtras::*>
        member;
    Weight weight = Weight::Counts;
    bool isDate = false; ///< of a phone's unit, told value by value
};

/// All of them, for whoever reads or writes such columns. Reactions, and parts in "Recently Deleted", are
/// rows of tables; edits and unsent parts follow from `message_summary_info`.
std::span<const ExtrasField> extrasFields();

/// Binds the value of `field` to the next place of `sql`.
void bindField(Sqlite3Sql &sql, const ExtrasField &field, const MessageExtras &extras);

/// Reads the extras of the rows of one query. Which columns there are is looked up once, by both names.
class ExtrasReader
{
public:
    explicit ExtrasReader(const Sqlite3Cursor &cursor);

    /// The extras of the row on which `cursor` stands; null when it has nothing of the kind.
    MessageExtrasPtr read(const Sqlite3Cursor &cursor) const;

private:
    struct Column {
        int position;
        const ExtrasField *field;
    };
    std::vector<Column> counting;
    std::vector<Column> all;
};
