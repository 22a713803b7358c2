#include "testing/builders/smsdbwritersince6.h"

using namespace Qt::StringLiterals;

qint64 SmsDbWriterSince6::handleRowid(const SampleHandle &handle, const QString &service)
{
    if (handle.id.isNull())
        return 0;
    qint64 &rowid = handles[{handle.id, service}];
    if (rowid == 0) {
        database.prepare("INSERT INTO handle(id, country, service, uncanonicalized_id) VALUES(?,?,?,?)")
            .run(handle.id, handle.country, service, handle.uncanonicalized_id);
        rowid = database.lastRowid();
    }
    if (version >= IosVersion::Ios13 && !handle.person_centric_id.isNull())
        database.prepare("UPDATE handle SET person_centric_id=? WHERE ROWID=?")
            .run(handle.person_centric_id, rowid);
    return rowid;
}

QString SmsDbWriterSince6::roomNames(const SampleMessage &message) const
{
    QString names;
    for (const int chat : message.chats) {
        const QString &room = chats.at(chat).room_name;
        if (!room.isNull())
            names = names.isNull() ? room : names % u","_s % room;
    }
    return names;
}

qint64 SmsDbWriterSince6::orDefault(qint64 date, qint64 phoneWouldWrite)
{
    return date == -1 ? phoneWouldWrite : date;
}
