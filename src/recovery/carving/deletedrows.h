#pragma once

#include "recovery/carving/sqlite3file.h"
#include "store/records/messagerecords.h"

#include <optional>

class CountryLibDb;

/// What the recycle database holds for one message: the record, and by which words it finds its chat.
struct _RecycleMessage {
    _MsgMessage message;
    QString chat_identifier; ///< empty when nobody knows
    QString handle;          ///< address; empty when nobody knows
};

// What rows of a phone's tables look like when nothing but their bytes is left: lists of columns, a quick
// look at whether a row makes sense, and the record it stands for (nothing where it doesn't).

/// The `message` table of iOS 6 and that of iOS 8.
QList<QList<_SqliteCol>> ios6MessageColumns();
bool isPlausibleIos6Row(const Sqlite3RawRow &row);
/// Dates of newer phones, in nanoseconds, become seconds.
std::optional<_RecycleMessage> rowToIos6Message(const Sqlite3RawRow &row);

/// The `handle` table.
QList<QList<_SqliteCol>> handleColumns();
bool isPlausibleHandleRow(const Sqlite3RawRow &row);
std::optional<_MsgHandle> rowToHandle(const Sqlite3RawRow &row);

/// The `message` table of the steps up to iOS 5.
QList<QList<_SqliteCol>> ios5MessageColumns();
bool isPlausibleIos5Row(const Sqlite3RawRow &row);
/// `countries` has the phone's own as its default. Text messages get a new guid.
std::optional<_RecycleMessage> rowToIos5Message(const Sqlite3RawRow &row, CountryLibDb &countries);
