#pragma once

#include "chatlinks.h"
#include "messagerecords.h"
#include "sqlite3cursor.h"

#include <map>
#include <memory>

/// Makes records of the rows of `message` and links them to chats and handles of a store.
class MessageRows
{
public:
    enum class Phone {
        Older,  ///< up to iOS 9, and our own Local Databases: every row is a message as it stands
        Modern, ///< since iOS 10: reactions are rows, a text may stand in `attributedBody` alone
    };
    enum class Place { Chat, RecentlyDeleted };

    MessageRows(_MsgStore &target, Phone source) : store(target), phone(source) {}

    /// Reads rows of `message` with the `chat_id` that they stand in. Messages that the store has already
    /// are linked, not read again. Reactions wait for `finish`.
    void read(Sqlite3Cursor cursor, Place place = Place::Chat);

    /// How many different rows were read or found in the store, whole or as reactions.
    qsizetype count() const { return store.messages.size() + qsizetype(reactions.size()); }

    /// Puts reactions under their messages, and those that have none into their chats; tells replies what
    /// they answer; enters all messages in their chats. Logs how many texts could not be read.
    void finish();

private:
    struct Reaction {
        std::unique_ptr<_MsgMessage> record;
        QList<_MsgChat *> chats;
    };

    void addReaction(std::unique_ptr<_MsgMessage> record, _MsgChat *chat);
    void complete(_MsgMessage &message, Place place);
    void decodeText(_MsgMessage &message);
    void enter(_MsgMessage &message, _MsgChat *chat);
    void settleReactions();
    void logFaults() const;

    _MsgStore &store;
    Phone phone;
    std::map<qint64, Reaction> reactions; // by rowid
    QList<_MsgMessage *> replies;
    QHash<_MsgChat *, int> newest; // dates in chats whose own is not known
    ChatLinks links;
    qsizetype undecodable = 0;
    qsizetype cut = 0;
    qint64 firstFault = 0; // rowid
};
