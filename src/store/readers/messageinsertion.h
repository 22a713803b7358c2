#pragma once

#include "store/readers/recordinsertion.h"
#include "store/records/messagerecords.h"

#include <QHash>
#include <QString>

#include <utility>

/// Makes the statement that inserts a message into the columns that a file's `message` table has. There is
/// one text for each set of columns that a message fills, so that the statements behind the texts are
/// prepared once.
class MessageInsertion
{
public:
    MessageInsertion() = default;
    /// `createText` is the text that created the table.
    explicit MessageInsertion(const QString &createText);

    /// `handleRowid` and `otherHandleRowid` are rows of the file, 0 for none. `logicHash` is not empty.
    Sqlite3Sql sql(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                   const QString &logicHash);

private:
    RecordInsertion<_MsgMessage> columns;
    RecordInsertion<MessageExtras> extras;
    QHash<std::pair<quint64, quint64>, QString> texts; ///< by the columns that are bound
};
