#pragma once

#include "sqlite_qt/sqlite3sql.h"
#include "store/records/messagerecords.h"

#include <QHash>
#include <QLatin1StringView>
#include <QString>

#include <vector>

/// Makes the statement that inserts a message into the columns that a file's `message` table has. The
/// columns are looked up once, and there is one text for each set of columns that a message fills, so
/// that the statements behind the texts are prepared once.
class MessageInsertion
{
public:
    MessageInsertion() = default;
    /// `createText` is the text that created the table.
    explicit MessageInsertion(const QString &createText);

    /// `handleRowid` and `otherHandleRowid` are rows of the file, 0 for none. `logicHash` is not empty.
    Sqlite3Sql sql(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                   const QString &logicHash);

    /// Whether the file keeps what newer phones tell, as our own do.
    bool hasExtras() const { return writesExtras; }
    bool hasLogicHash() const { return writesLogicHash; }

private:
    struct IntColumn {
        QLatin1StringView name;
        int _MsgMessage::*member;
    };

    std::vector<IntColumn> optionalInts;
    bool writesOtherHandle = false;
    bool writesGroupTitle = false;
    bool writesLogicHash = false;
    bool writesExtras = false;
    QHash<uint, QString> texts; ///< by the columns that only some messages fill
};
