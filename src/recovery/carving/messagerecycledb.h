#pragma once

#include "recovery/carving/deletedrows.h"
#include "sqlite_qt/absdb.h"

#include <QDir>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>

/// Keeps the deleted messages and handles that were found in a source's message database, in the file
/// "recycle.db" beside it: what was found once stays, whatever becomes of the message database. The
/// file is made by the first call.
class MessageRecycleDb : public AbsDb
{
public:
    /// `root` is the root folder of the source.
    explicit MessageRecycleDb(const QDir &root);

    /// Throws `std::runtime_error` when the file can't be made or is damaged.
    void openDb() override;

    // Rowids; 0 when there is none.

    /// Adds a message; `srcRowid` is its row in the source, 0 when unknown. A damaged guid is replaced.
    qint64 insertMessage(const _MsgMessage &message, const QString &chatIdentifier, const QString &handle,
                         qint64 srcRowid);
    /// A message of the same guid, or of the same date, direction and words. A message without words is
    /// found by its guid only.
    qint64 findMessage(const _MsgMessage &message);
    /// A message without words that is the same in all else that it can be told by.
    qint64 findWordless(const _RecycleMessage &recycled);
    qint64 insertHandle(const _MsgHandle &handle, qint64 srcRowid);
    qint64 findHandle(const _MsgHandle &handle);

    /// The handle that had this row in the source; empty when there is none, or when it isn't sure: a wrong
    /// person would be worse than none.
    _MsgHandle handleBySourceRowid(qint64 rowid);
    /// All messages that are to be shown, in the order in which they were found, with rowids that no
    /// message of a source has.
    QList<_RecycleMessage> loadMessages();
    /// Moves a message, if it is there, to another chat.
    void setMessageChat(const _MsgMessage &message, const QString &chatIdentifier, const QString &handle);
    QList<_MsgHandle> loadHandles();

    /// Adds `messages` to the chats of `store`, marked as recovered. Chats that are not there are made up.
    static void mergeInto(_MsgStore &store, const QList<_RecycleMessage> &messages);

private:
    using DirectedText = std::pair<int, QString>; // `is_from_me` and `text`

    void createSchema();
    qint64 firstRowid(const Sqlite3Sql &sql);
    qint64 findUndated(const _MsgMessage &message);
    void loadUndated();

    QString path;
    // Of many rows the date is lost. Looking them up by it would read all of them each time.
    std::optional<QHash<DirectedText, qint64>> undated;
};

/// Whether `text` has the shape of a guid.
bool isGuid(const QString &text);
