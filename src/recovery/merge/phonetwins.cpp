#include "recovery/merge/phonetwins.h"

#include "sqlite_qt/sqlite3db.h"
#include "store/records/messagerecords.h"

#include <algorithm>

namespace
{

qint64 momentOf(qint64 date, int isFromMe)
{
    return date * 2 + (isFromMe != 0 ? 1 : 0);
}

} // namespace

PhoneTwins::Key PhoneTwins::keyOf(const _MsgMessage &message)
{
    const QString &place = message.handle ? message.handle->id : message.chat->chat_identifier;
    return {{place, message.text}, momentOf(message.date, message.is_from_me)};
}

void PhoneTwins::expect(const _MsgMessage &message)
{
    if (message.item_type != 0)
        return; // events have guids in all files
    moments.insert(momentOf(message.date, message.is_from_me));
    rows.insert(keyOf(message), {});
}

void PhoneTwins::read(Sqlite3DB &phone, const QSet<QString> &taken)
{
    Sqlite3Cursor cursor = phone.queryThrow(Sqlite3Sql(
        "select m.date, m.is_from_me, m.guid, ifnull(m.text,''), coalesce(h.id, "
        "c.chat_identifier, '') from message m left join handle h on h.rowid=m.handle_id left join "
        "chat_message_join j on j.message_id=m.rowid left join chat c on c.rowid=j.chat_id"));
    while (!moments.isEmpty() && cursor.moveNextThrow()) {
        const qint64 moment = momentOf(cursor.getInt64(0), cursor.getInt(1));
        if (!moments.contains(moment))
            continue;
        const auto found = rows.find({{cursor.getText(4), cursor.getText(3)}, moment});
        const QString guid = cursor.getText(2);
        if (found != rows.end() && !taken.contains(guid) && !found->contains(guid))
            found->append(guid);
    }
}

QString PhoneTwins::take(const _MsgMessage &message)
{
    const auto found = rows.find(keyOf(message));
    return found == rows.end() || message.item_type != 0 || found->isEmpty() ? QString() : found->takeFirst();
}
