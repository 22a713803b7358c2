#include "recovery/local/knownrows.h"

#include "recovery/local/attachmentmatch.h"
#include "store/readers/ios6messagedb.h"

using namespace Qt::StringLiterals;

KnownRows::Row KnownRows::rowOf(const _MsgMessage &message, const QString &hash)
{
    expect(message.guid);
    if (const Row row = byGuid(message.guid, hash); row.rowid != 0)
        return row;
    qint64 rowid = byHash(hash);
    if (rowid == 0)
        rowid = rowWithOtherAttachments(
            db, message, [this](qint64 row, const QString &guid) { return isFree(row, guid); });
    if (rowid != 0)
        taken.insert(rowid);
    return {rowid};
}

void KnownRows::forget()
{
    guids.clear();
    taken.clear();
    skipped.clear();
}

KnownRows::Row KnownRows::byGuid(const QString &guid, const QString &hash)
{
    using KnownBy = ExtrasWriter::KnownBy;
    Sqlite3Sql sql("select rowid, logic_hash from message where guid=?");
    sql.addTextParam(guid);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    if (!cursor.moveNextThrow())
        return {};
    return {cursor.getInt64(0), cursor.getText(1) == hash ? KnownBy::Content : KnownBy::Guid};
}

qint64 KnownRows::byHash(const QString &hash)
{
    const auto first = skipped.constFind(hash);
    Sqlite3Sql sql("select rowid, guid from message where logic_hash=? and rowid>? order by rowid");
    sql.addTextParam(hash);
    sql.addInt64Param(first == skipped.cend() ? 0 : *first);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    while (cursor.moveNextThrow()) {
        skipped.insert(hash, cursor.getInt64(0));
        if (isFree(cursor.getInt64(0), cursor.getText(1)))
            return cursor.getInt64(0);
    }
    return 0;
}

bool KnownRows::isFree(qint64 rowid, const QString &guid) const
{
    return !taken.contains(rowid) && !guids.contains(guid);
}
