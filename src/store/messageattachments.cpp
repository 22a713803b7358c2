#include "messageattachments.h"

#include "attachmentpaths.h"
#include "messagestore.h"
#include "messagetext.h"
#include "mmsparts.h"
#include "recordreader.h"
#include "sqlite3db.h"
#include "untoucheddb.h"

#include <array>

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

constexpr std::array madridFields = {
    AttachmentField{"rowid"_L1, &_MsgAttachment::rowid},
    AttachmentField{"attachment_guid"_L1, &_MsgAttachment::guid},
    AttachmentField{"created_date"_L1, RecordDate{&_MsgAttachment::created_date}},
    AttachmentField{"start_date"_L1, RecordDate{&_MsgAttachment::start_date}},
    AttachmentField{"filename"_L1, &_MsgAttachment::filename},
    AttachmentField{"uti_type"_L1, repeatingText(&_MsgAttachment::uti)},
    AttachmentField{"mime_type"_L1, repeatingText(&_MsgAttachment::mime_type)},
    AttachmentField{"transfer_state"_L1, &_MsgAttachment::transfer_state},
};

/// Each has to be known by a guid of its own, in a Local Database too.
void giveGuid(_MsgAttachment &attachment, const _MsgMessage &message)
{
    if (attachment.guid.isEmpty())
        attachment.guid =
            messageGuidFromData(u"%1 %2"_s.arg(message.guid, QString::number(attachment.rowid)).toUtf8());
}

/// The rows of `cursor`, each beside the rowid of a message in the column "message_id".
template <size_t size>
void readRows(Sqlite3Cursor cursor, const std::array<AttachmentField, size> &fields, const QDir &root,
              _MsgStore &store)
{
    RecordReader<_MsgAttachment> reader(cursor, fields, {}, DateUnit::EachItsOwn);
    const int rowid = cursor.columnIndex(u"rowid"_s);
    const int messageId = cursor.columnIndex(u"message_id"_s);
    const int incoming = cursor.columnIndex(u"is_incoming"_s); // before iOS 6
    while (cursor.moveNextThrow()) {
        _MsgMessage *message = store.messages.value(cursor.getInt64(messageId));
        if (!message)
            continue;
        _MsgAttachment *&attachment = store.attachments[cursor.getInt64(rowid)];
        if (!attachment) {
            attachment = reader.read(cursor).release();
            attachment->localFile = attachmentFile(root, attachment->filename);
            if (incoming >= 0)
                attachment->is_outgoing = cursor.getInt(incoming) == 0;
            giveGuid(*attachment, *message);
        }
        linkAttachment(*message, *attachment);
    }
}

} // namespace

void linkAttachment(_MsgMessage &message, _MsgAttachment &attachment)
{
    QString key = attachment.guid;
    const _MsgAttachment *known = message.attachments.value(key);
    if (known && known != &attachment) // two rows of one guid
        key += QString::number(attachment.rowid);
    message.attachments.insert(key, &attachment);
}

void readAttachments(Sqlite3DB &db, const QDir &root, _MsgStore &store)
{
    const QHash<QString, QString> tables = tableTexts(db);
    if (tables.contains(u"attachment"_s) && tables.contains(u"message_attachment_join"_s))
        readRows(db.queryThrow(
                     Sqlite3Sql("select j.message_id, a.rowid as rowid, a.* from message_attachment_join "
                                "as j inner join attachment as a on j.attachment_id = a.rowid")),
                 attachmentFields, root, store);
}

void readIos5Attachments(Sqlite3DB &db, const QDir &root, _MsgStore &store)
{
    const QHash<QString, QString> tables = tableTexts(db);
    if (tables.contains(u"madrid_attachment"_s))
        readRows(db.queryThrow(Sqlite3Sql("select rowid, * from madrid_attachment")), madridFields, root,
                 store);
    readMmsAttachments(db, root, store);
}
