#pragma once

#include "sqlite_qt/sqlite3db.h"

#include <QString>

#include <optional>

/// A message as old Local Databases hold it.
struct OldMessage {
    QString address; ///< as typed
    QString text;
    QString person;  ///< name of the contact
    qint64 date = 0; ///< seconds since 1970
    bool isSent = false;
};

/// A Local Database of the old format: one file with a view `view_sms`, the texts enciphered.
class OldMessageFile
{
public:
    /// Throws `std::runtime_error` when `path` is no such file.
    explicit OldMessageFile(const QString &path);

    qint64 count();
    /// The next message; nothing at the end. Throws where the file can't be read on.
    std::optional<OldMessage> next();

private:
    struct Columns {
        int address, body, person, date, isSent;
    };
    static Sqlite3DB &openedThrow(Sqlite3DB &db, const QString &path);

    Sqlite3DB db;
    Sqlite3Cursor cursor;
    Columns columns;
};
