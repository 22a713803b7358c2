#include "recovery/local/oldmessagefile.h"

#include "recovery/local/rc4.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr QByteArrayView bodyKey = "2F9B63A1C07D48E5B1D6E3047A9C15F8";

} // namespace

OldMessageFile::OldMessageFile(const QString &path)
    : cursor(openedThrow(db, path).queryThrow(Sqlite3Sql("select * from view_sms")))
    , columns{cursor.columnIndex(u"address"_s), cursor.columnIndex(u"body"_s),
              cursor.columnIndex(u"person"_s), cursor.columnIndex(u"date"_s),
              cursor.columnIndex(u"is_send"_s)}
{
}

Sqlite3DB &OldMessageFile::openedThrow(Sqlite3DB &db, const QString &path)
{
    db.openThrow(path, sqliteReadWrite);
    return db;
}

qint64 OldMessageFile::count()
{
    Sqlite3Cursor counted = db.queryThrow(Sqlite3Sql("select count(*) from view_sms"));
    return counted.moveNextThrow() ? counted.getInt64(0) : 0;
}

std::optional<OldMessage> OldMessageFile::next()
{
    if (!cursor.moveNextThrow())
        return std::nullopt;
    return OldMessage{
        cursor.getText(columns.address), QString::fromUtf8(rc4(bodyKey, cursor.getBlob(columns.body))),
        cursor.getText(columns.person), cursor.getInt64(columns.date), cursor.getInt(columns.isSent) != 0};
}
