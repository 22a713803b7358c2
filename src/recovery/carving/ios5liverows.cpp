#include "recovery/carving/ios5liverows.h"

#include "recovery/carving/deletedrows.h"
#include "recovery/carving/messagerecycledb.h"
#include "store/people/countrylibdb.h"
#include "store/readers/absmessagedb.h"

namespace
{

Sqlite3RawRow rawRow(const Sqlite3Row &values, const QList<_SqliteCol> &columns)
{
    Sqlite3RawRow row;
    for (const _SqliteCol &column : columns)
        row.values.append(values.value(column.name));
    return row;
}

} // namespace

Ios5LiveRows::Ios5LiveRows(AbsIOSMessageDb &db, CountryLibDb &countries)
{
    db.openDb();
    const QList<_SqliteCol> columns = ios5MessageColumns().last();
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select * from message"));
    while (cursor.moveNextThrow()) {
        const auto message = rowToIos5Message(rawRow(cursor.getRow(), columns), countries);
        if (!message)
            continue; // nor would a deleted one like it be found
        guids.insert(message->message.guid);
        texts.insert({placeOf(*message), message->message.text});
    }
}

Ios5LiveRows::Place Ios5LiveRows::placeOf(const _RecycleMessage &recycled)
{
    const _MsgMessage &message = recycled.message;
    return {recycled.handle, qint64(message.date) * 2 + message.is_from_me};
}

bool Ios5LiveRows::contains(const _RecycleMessage &recycled) const
{
    return guids.contains(recycled.message.guid) ||
           texts.contains({placeOf(recycled), recycled.message.text});
}
