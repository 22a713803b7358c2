#pragma once

#include "store/readers/localextras.h"
#include "store/records/messagerecords.h"

#include <QSet>
#include <QString>

#include <functional>

class IOS6MessageDb;
class SourceColumns;

/// Keeps in a Local Database what newer phones tell of a message beside its own row. A message that is
/// there already gets what came since; nothing that was kept is taken away. A target of another shape
/// holds none of it: all calls then do nothing.
///
/// - A reaction is known by its guid. Its payload and its attachments go with it. Which of several by one
/// sender counts is told on reading.
/// - A later edit brings its text, the text before it stays in the history. A message that was unsent
///   since keeps its text, and says that it was unsent.
/// - A message stands in "Recently Deleted", or without a conversation, as long as no source has it
/// elsewhere.
/// - A recovered message is marked as one as long as no source has it undeleted. One of an unknown address
///   then gets the date, the person and the chat that it has there.
class ExtrasWriter
{
public:
    /// The row of a handle in the target, which is inserted if need be.
    using HandleRowid = std::function<qint64(const _MsgHandle &)>;

    /// The same of an attachment, whose file is copied then.
    using AttachmentRowid = std::function<qint64(const _MsgAttachment &)>;

    ExtrasWriter(IOS6MessageDb &target, SourceColumns &sourceColumns, HandleRowid handles,
                 AttachmentRowid attachments);

    /// Call it when the run begins.
    void begin();
    /// Whether `message` is a reaction whose own message the source lacks, but not the target: it is put
    /// there, unless it is there already, and is no message any more.
    enum class Taken { No, Added, Known };
    Taken takeReaction(const _MsgMessage &message);
    void addToNew(qint64 messageId, const _MsgMessage &message);
    /// `hash` is the `logicHash` of `message`. `known` tells by what it is known to be the message of that
    /// row.
    enum class KnownBy { Content, Guid };
    void addToKept(qint64 messageId, const _MsgMessage &message, const QString &hash, KnownBy known);
    /// Rows of a message's chat and of who wrote it, 0 for nobody.
    struct Place {
        qint64 chatId = 0;
        qint64 handleId = 0;
    };
    /// Whether the message has left "Recently Deleted", the chat of those without a conversation or that of
    /// an unknown address: it is at `place` now.
    bool updatePlace(qint64 messageId, const _MsgMessage &message, Place place, const QString &hash);
    /// Call it when the run ends.
    void finish();

private:
    void addRows(qint64 messageId, const _MsgMessage &message);
    void addReaction(qint64 messageId, const MessageReaction &reaction);
    void addStates(qint64 messageId, const _MsgMessage &message);
    void addStateBefore(qint64 messageId, const MessageEdit &state, const QList<MessageEdit> &history);
    /// Returns whether the message is a later state of what is there.
    bool addChange(qint64 messageId, const _MsgMessage &message, const QString &hash);

    IOS6MessageDb &db;
    SourceColumns &columns;
    LocalExtras rows;
    HandleRowid handleRowid;
    AttachmentRowid attachmentRowid;
    bool isKeeping = false;
    QSet<qint64> deleted; ///< in "Recently Deleted"
    QSet<qint64> lost;    ///< without a conversation
    QSet<qint64> recovered;
    QSet<qint64> unknown; ///< of an unknown address
};
