#pragma once

#include "sqlite_qt/sqlite3cursor.h"
#include "store/records/chatlinks.h"
#include "store/records/guidindex.h"
#include "store/records/messagerecords.h"

#include <QSet>
#include <QStringList>

#include <map>
#include <memory>
#include <span>
#include <vector>

/// Makes records of the rows of `message` and links them to chats and handles of a store.
class MessageRows
{
public:
    /// Where a message stands; a modern phone's tables of chats and of "Recently Deleted" say so.
    struct Place {
        qint64 message = 0; ///< rowid, as the next
        qint64 chat = 0;
        bool isDeleted = false;
        int delete_date = 0;
    };

    explicit MessageRows(_MsgStore &target) : store(target) {}

    /// Reads rows of `message`, up to iOS 9 or of a Local Database, with the `chat_id` that they stand in.
    /// Messages that the store has already are linked, not read again. Returns whether the store has the
    /// chats of all of them.
    bool read(Sqlite3Cursor cursor);

    /// The same for rows that no chat names: they stand in `elsewhere`.
    void readUnplaced(Sqlite3Cursor cursor, _MsgChat &elsewhere);

    /// Reads rows of a modern phone's `message` by ascending rowid. `places` go by message; a row that none
    /// of them names stands in `elsewhere`, and is left out when that is null. One whose chats the store
    /// lacks stands there too. Reactions wait for `finish`.
    void readPlaced(Sqlite3Cursor cursor, const std::vector<Place> &places, _MsgChat *elsewhere);

    /// The columns that are read of a table with these, in lower case: leaving out the rest saves a third
    /// of the time that a modern phone's many columns cost.
    static QStringList columnsOf(const QSet<QString> &existing);

    /// Puts reactions under their messages, and those that have none into their chats; tells replies what
    /// they answer; enters all messages in their chats. Logs how many texts could not be read.
    void finish();

private:
    struct Reaction {
        std::unique_ptr<_MsgMessage> record;
        QList<_MsgChat *> chats;
    };

    class Reader;

    void addReaction(std::unique_ptr<_MsgMessage> record, std::span<const Place> places, _MsgChat *elsewhere);
    /// The message of the row: that of the store, else read into it.
    _MsgMessage &linkedMessage(Reader &reader);
    void complete(_MsgMessage &message);
    void complete(_MsgMessage &message, const Place &place);
    void decodeText(_MsgMessage &message);
    void enter(_MsgMessage &message, _MsgChat *chat);
    void enterPlaced(_MsgMessage &message, _MsgChat *chat, bool isDeleted);
    const GuidIndex &completeIndex();
    void settleReactions();
    void logFaults() const;

    _MsgStore &store;
    std::map<qint64, Reaction> reactions; // by rowid
    QList<_MsgMessage *> replies;
    GuidIndex index; // of messages that this made
    ChatLinks links;
    qsizetype undecodable = 0;
    qsizetype cut = 0;
    qint64 firstFault = 0; // rowid
};
