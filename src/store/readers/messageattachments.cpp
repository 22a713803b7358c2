#include "store/readers/messageattachments.h"

#include "sqlite_qt/sqlite3db.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/mmsparts.h"
#include "store/readers/recordreader.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <array>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

using AttachmentField = RecordField<_MsgAttachment>;

// A Local Database has the last three under names of its own.
constexpr std::array attachmentFields = {
    AttachmentField{"rowid"_L1, &_MsgAttachment::rowid},
    AttachmentField{"guid"_L1, &_MsgAttachment::guid},
    AttachmentField{"created_date"_L1, RecordDate{&_MsgAttachment::created_date}},
    AttachmentField{"start_date"_L1, RecordDate{&_MsgAttachment::start_date}},
    AttachmentField{"filename"_L1, &_MsgAttachment::filename},
    AttachmentField{"uti"_L1, repeatingText(&_MsgAttachment::uti)},
    AttachmentField{"mime_type"_L1, repeatingText(&_MsgAttachment::mime_type)},
    AttachmentField{"transfer_state"_L1, &_MsgAttachment::transfer_state},
    AttachmentField{"is_outgoing"_L1, &_MsgAttachment::is_outgoing},
    AttachmentField{"user_info"_L1, &_MsgAttachment::user_info},
    AttachmentField{"transfer_name"_L1, &_MsgAttachment::transfer_name},
    AttachmentField{"total_bytes"_L1, &_MsgAttachment::total_bytes},
    AttachmentField{"is_sticker"_L1, &_MsgAttachment::is_sticker},
    AttachmentField{"hide_attachment"_L1, &_MsgAttachment::hide_attachment},
    AttachmentField{"emoji_image_short_description"_L1, &_MsgAttachment::emoji_image_short_description},
    AttachmentField{"_is_sticker"_L1, &_MsgAttachment::is_sticker},
    AttachmentField{"_hide_attachment"_L1, &_MsgAttachment::hide_attachment},
    AttachmentField{"_emoji_image_short_description"_L1, &_MsgAttachment::emoji_image_short_description},
};

constexpr std::array madridAttachmentFields = {
    AttachmentField{"rowid"_L1, &_MsgAttachment::rowid},
    AttachmentField{"attachment_guid"_L1, &_MsgAttachment::guid},
    AttachmentField{"created_date"_L1, RecordDate{&_MsgAttachment::created_date}},
    AttachmentField{"start_date"_L1, RecordDate{&_MsgAttachment::start_date}},
    AttachmentField{"filename"_L1, &_MsgAttachment::filename},
    AttachmentField{"uti_type"_L1, repeatingText(&_MsgAttachment::uti)},
    AttachmentField{"mime_type"_L1, repeatingText(&_MsgAttachment::mime_type)},
    AttachmentField{"transfer_state"_L1, &_MsgAttachment::transfer_state},
};

using Attachments = QHash<QString, _MsgAttachment *>;

/// Each has to be known by a guid of its own, in a Local Database too.
void giveGuid(_MsgAttachment &attachment, const QString &ownerGuid)
{
    if (attachment.guid.isEmpty())
        attachment.guid =
            messageGuidFromData(u"%1 %2"_s.arg(ownerGuid, QString::number(attachment.rowid)).toUtf8());
}

/// What an attachment belongs to.
struct Owner {
    QString guid;
    Attachments *attachments; ///< null where the store has no such record
};

/// The reactions of a store by the rows in which its source has them. They are looked up when the first is
/// asked for: most attachments belong to messages.
class ReactionOwners
{
public:
    explicit ReactionOwners(const _MsgStore &messageStore) : store(messageStore) {}

    Owner operator()(qint64 rowid)
    {
        if (!std::exchange(isRead, true))
            read();
        const auto place = places.constFind(rowid);
        if (place == places.cend())
            return {};
        MessageReaction &reaction = place->first->extras->reactions[place->second];
        return {reaction.guid, &reaction.attachments};
    }

private:
    void read()
    {
        for (_MsgMessage *message : store.messages) {
            const qsizetype count = message->extras ? message->extras->reactions.size() : 0;
            for (qsizetype i = 0; i < count; ++i)
                places.insert(message->extras->reactions.at(i).rowid, {message, i});
        }
    }

    const _MsgStore &store;
    bool isRead = false;
    QHash<qint64, std::pair<_MsgMessage *, qsizetype>> places;
};

Owner messageOwner(const _MsgStore &store, qint64 rowid)
{
    _MsgMessage *message = store.messages.value(rowid);
    return message ? Owner{message->guid, &message->attachments} : Owner{};
}

/// The rows of `cursor`, each beside the rowid of what it belongs to in the column "message_id".
template <size_t size, typename OwnerOf>
void readRows(Sqlite3Cursor cursor, const std::array<AttachmentField, size> &fields, const QDir &root,
              _MsgStore &store, OwnerOf ownerOf)
{
    RecordReader<_MsgAttachment> reader(cursor, fields, {}, DateUnit::EachItsOwn);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    const int messageId = cursor.columnIndex(u"message_id"_s);
    const int incoming = cursor.columnIndex(u"is_incoming"_s); // before iOS 6
    while (cursor.moveNextThrow()) {
        const Owner owner = ownerOf(cursor.getInt64(messageId));
        if (!owner.attachments)
            continue;
        _MsgAttachment *&attachment = store.attachments[cursor.getInt64(rowid)];
        if (!attachment) {
            attachment = reader.read(cursor).release();
            attachment->localFile = attachmentFile(root, attachment->filename);
            if (incoming >= 0)
                attachment->is_outgoing = cursor.getInt(incoming) == 0;
            giveGuid(*attachment, owner.guid);
        }
        linkAttachment(*owner.attachments, *attachment);
    }
}

} // namespace

void linkAttachment(QHash<QString, _MsgAttachment *> &attachments, _MsgAttachment &attachment)
{
    QString key = attachment.guid;
    const _MsgAttachment *known = attachments.value(key);
    if (known && known != &attachment) // two rows of one guid
        key += QString::number(attachment.rowid);
    attachments.insert(key, &attachment);
}

// On a phone reactions are messages; a Local Database has them, and their attachments, in tables of its own.
void readAttachments(Sqlite3DB &db, const QDir &root, _MsgStore &store)
{
    const QHash<QString, QString> tables = tableTexts(db);
    if (!tables.contains(u"attachment"_s) || !tables.contains(u"message_attachment_join"_s))
        return;
    const bool isLocal = tables.contains(u"_reaction"_s);
    const QString sql = u"select j.%1 as message_id, a.rowid as rowid, a.* from %2 as j inner join "
                        "attachment as a on j.attachment_id = a.rowid"_s;
    ReactionOwners reactions(store);
    const auto ownerOf = [&](qint64 rowid) {
        const Owner message = messageOwner(store, rowid);
        return message.attachments || isLocal ? message : reactions(rowid);
    };
    readRows(db.queryThrow(Sqlite3Sql(sql.arg(u"message_id"_s, u"message_attachment_join"_s))),
             attachmentFields, root, store, ownerOf);
    if (tables.contains(u"_reaction_attachment_join"_s))
        readRows(db.queryThrow(Sqlite3Sql(sql.arg(u"reaction_id"_s, u"_reaction_attachment_join"_s))),
                 attachmentFields, root, store, std::ref(reactions));
}

void readIos5Attachments(Sqlite3DB &db, const QDir &root, _MsgStore &store)
{
    const QHash<QString, QString> tables = tableTexts(db);
    if (tables.contains(u"madrid_attachment"_s))
        readRows(db.queryThrow(Sqlite3Sql("select rowid, * from madrid_attachment")), madridAttachmentFields,
                 root, store, [&](qint64 rowid) { return messageOwner(store, rowid); });
    readMmsAttachments(db, root, store);
}
