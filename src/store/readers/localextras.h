#pragma once

#include "store/records/messagerecords.h"

#include <QSet>
#include <QString>

#include <optional>

class Sqlite3DB;

/// What a Local Database says now about a message of which something new came in.
struct KeptMessage {
    QString text;
    int date = 0;
    bool hasExtras = false; ///< false too where it came in before there were any
    int changed = 0;        ///< when it was last edited or unsent; 0 for never
    QByteArray message_summary_info;
};

/// The rows in which a Local Database keeps what newer phones tell of a message beside its own row. All
/// calls throw `std::runtime_error`.
class LocalExtras
{
public:
    enum class PartText { Deleted = 1, BeforeEdit = 2 };

    explicit LocalExtras(Sqlite3DB &database) : db(database) {}

    /// Selects the handles that stand in no chat: of reactions, of messages without a conversation, and of
    /// partners who write in one chat by several services.
    static const char *looseHandles;
    /// Gives the messages of `store` their reactions and texts of parts.
    void read(_MsgStore &store);

    bool hasReaction(qint64 messageId, const MessageReaction &reaction);
    /// Returns the row. A reaction that is there already, by its guid, stays single; what it lacked of
    /// payload and summary is added.
    qint64 addReaction(qint64 messageId, const MessageReaction &reaction, qint64 handleId);
    void joinReactionAttachment(qint64 reactionId, qint64 attachmentId);
    /// Deletes the message as which the reaction `guid` came in when its own message was not there. Its
    /// attachments go to the row `reactionId`.
    void removeReactionLine(const QString &guid, qint64 reactionId);
    void addPartText(qint64 messageId, PartText kind, const MessageEdit &text);

    KeptMessage kept(qint64 messageId);
    /// Writes all columns of extras but the date of deletion.
    void updateExtras(qint64 messageId, const MessageExtras &extras);
    void updateText(qint64 messageId, const _MsgMessage &message, const QString &logicHash);

    /// Messages that stand in "Recently Deleted".
    QSet<qint64> recentlyDeleted();
    void takeBackDeletion(qint64 messageId);

    /// Messages that came in as recovered ones only.
    QSet<qint64> recovered();
    void takeBackRecovery(qint64 messageId);

    /// Messages that stand in the made-up chat of those without a conversation.
    QSet<qint64> withoutConversation();
    /// Messages that stand in the made-up chat of somebody whose address nobody knows.
    QSet<qint64> ofUnknownAddress();
    /// Moves one of either to the chat that it belongs to.
    void moveToChat(qint64 messageId, qint64 chatId);
    /// Writes what a recovered message may have lost.
    void updateOrigin(qint64 messageId, int date, qint64 handleId, const QString &logicHash);
    /// Deletes those made-up chats in which nothing stands.
    void dropEmptyMadeUpChats();

private:
    void readReactions(_MsgStore &store);
    void readPartTexts(_MsgStore &store);
    void foldLine(qint64 messageId, qint64 reactionId);
    QSet<qint64> rowids(const QString &sql);

    Sqlite3DB &db;
};
