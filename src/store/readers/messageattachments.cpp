#include "store/readers/messageattachments.h"

#include "sqlite_qt/sqlite3db.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/mmsparts.h"
#include "store/readers/recordreader.h"
#include "store/records/columntables.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <array>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

using AttachmentColumn = RecordColumn<_MsgAttachment>;

// Of phones before iOS 6.
constexpr std::array madridAttachmentColumns = {
    AttachmentColumn{"rowid"_L1, &_MsgAttachment::rowid, {}},
    AttachmentColumn{"attachment_guid"_L1, &_MsgAttachment::guid, {}},
    AttachmentColumn{"created_date"_L1, RecordDate{&_MsgAttachment::created_date}, {}},
    AttachmentColumn{"start_date"_L1, RecordDate{&_MsgAttachment::start_date}, {}},
    AttachmentColumn{"filename"_L1, &_MsgAttachment::filename, {}},
    AttachmentColumn{"uti_type"_L1, repeatingText(&_MsgAttachment::uti), {}},
    AttachmentColumn{"mime_type"_L1, repeatingText(&_MsgAttachment::mime_type), {}},
    AttachmentColumn{"transfer_state"_L1, &_MsgAttachment::transfer_state, {}},
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
template <typename OwnerOf>
void readRows(Sqlite3Cursor cursor, RecordColumns<_MsgAttachment> columns, AttachmentFinder &files,
              _MsgStore &store, OwnerOf ownerOf)
{
    RecordReader<_MsgAttachment> reader(cursor, columns, {}, DateUnit::EachItsOwn);
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
            attachment->localFile = files.find(attachment->filename);
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
void readAttachments(Sqlite3DB &db, AttachmentFinder &files, _MsgStore &store)
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
             attachmentTable(), files, store, ownerOf);
    if (tables.contains(u"_reaction_attachment_join"_s))
        readRows(db.queryThrow(Sqlite3Sql(sql.arg(u"reaction_id"_s, u"_reaction_attachment_join"_s))),
                 attachmentTable(), files, store, std::ref(reactions));
}

void readIos5Attachments(Sqlite3DB &db, const QDir &root, AttachmentFinder &files, _MsgStore &store)
{
    const QHash<QString, QString> tables = tableTexts(db);
    if (tables.contains(u"madrid_attachment"_s))
        readRows(db.queryThrow(Sqlite3Sql("select rowid, * from madrid_attachment")), madridAttachmentColumns,
                 files, store, [&](qint64 rowid) { return messageOwner(store, rowid); });
    readMmsAttachments(db, root, files, store);
}
