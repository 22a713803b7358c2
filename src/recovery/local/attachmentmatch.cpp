#include "recovery/local/attachmentmatch.h"

#include "store/readers/ios6messagedb.h"
#include "store/records/messagetext.h"

using namespace Qt::StringLiterals;

namespace
{

bool hasHashes(IOS6MessageDb &db)
{
    return db.hasColumn(u"message"_s, u"logic_hash"_s);
}

} // namespace

qint64 rowWithOtherAttachments(IOS6MessageDb &db, const _MsgMessage &message,
                               const std::function<bool(qint64 rowid, const QString &guid)> &isFree)
{
    const bool readsAttachments = !message.attachments.isEmpty();
    if (message.item_type != 0 || (!readsAttachments && !message.text.contains(attachmentSign)) ||
        !hasHashes(db))
        return 0;
    const QString sender = message.handle ? u"in (select rowid from handle where id=?)"_s : u"= ?"_s;
    const QString others = u"select 1 from message_attachment_join where message_id=m.rowid"_s;
    Sqlite3Sql sql(
        u"select m.rowid, m.guid from message as m where m.handle_id %1 and m.date=? and m.is_from_me=? "
        "and m.item_type=0 and ifnull(m.text,'')=? and %2 exists (%3) order by m.rowid"_s.arg(
            sender, readsAttachments ? u"not"_s : QString(), others));
    if (message.handle)
        sql.addTextParam(message.handle->id);
    else
        sql.addInt64Param(0);
    sql.addInt64Param(message.date);
    sql.addInt64Param(message.is_from_me);
    sql.addTextParam(message.text);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    while (cursor.moveNextThrow()) {
        if (isFree(cursor.getInt64(0), cursor.getText(1)))
            return cursor.getInt64(0);
    }
    return 0;
}

void renewHash(IOS6MessageDb &db, qint64 rowid, const _MsgMessage &message, const QString &hash)
{
    if (message.item_type != 0 || !hasHashes(db))
        return;
    _MsgMessage bare = message;
    bare.attachments.clear();
    Sqlite3Sql sql("update message set logic_hash=? where rowid=? and logic_hash=?");
    sql.addTextParam(hash);
    sql.addInt64Param(rowid);
    sql.addTextParam(logicHash(bare));
    db.executeThrow(sql);
}
