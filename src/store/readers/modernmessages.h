#pragma once

#include "store/readers/messagerows.h"

#include <QHash>
#include <QString>

#include <vector>

class Sqlite3DB;

/// Reads the messages of a phone since iOS 10. Such a phone is told by its columns. Beside what older ones
/// have, it keeps reactions as rows of "message" and tables of what went to "Recently Deleted"; its dates
/// count seconds or nanoseconds, each its own.
class ModernMessages
{
public:
    /// `tableTexts` are the texts that created the tables, by name. Both are borrowed.
    ModernMessages(Sqlite3DB &database, const QHash<QString, QString> &tableTexts)
        : db(database), tables(tableTexts)
    {
    }

    static bool isModern(Sqlite3DB &db);
    /// Selects the date of the newest message of each chat.
    static const char *newestDates();

    /// Reads the messages of the chat `chatId`, 0 for all, into a store that has the chats and the handles.
    void read(_MsgStore &store, qint64 chatId);

private:
    QString columnsToRead();
    std::vector<MessageRows::Place> readPlaces(qint64 chatId);
    void readDeletedParts(_MsgStore &store);

    Sqlite3DB &db;
    const QHash<QString, QString> &tables;
};
