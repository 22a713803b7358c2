#include "store/readers/modernmessages.h"

#include "app/appledates.h"
#include "sqlite_qt/sqlite3db.h"
#include "store/archives/typedstream.h"
#include "store/records/madeupchats.h"

#include <QSet>

#include <algorithm>
#include <tuple>

using namespace Qt::StringLiterals;

bool ModernMessages::isModern(Sqlite3DB &db)
{
    return db.tbInfo(u"message"_s).contains(u"associated_message_guid"_s);
}

// Dates of both units stand beside each other. Reactions are no messages of their own.
const char *ModernMessages::newestDates()
{
    static_assert(firstNanoseconds == 1'000'000'000'000);
    return "select j.chat_id, max(case when m.date >= 1000000000000 then m.date / 1000000000 else m.date "
           "end) as last from chat_message_join as j inner join message as m on j.message_id = m.rowid where "
           "coalesce(m.associated_message_type, 0) < 1000 group by j.chat_id";
}

// One pass over `message` in the order of the file: cheaper than looking up each row that a join names,
// and it tells which rows no join names.
void ModernMessages::read(_MsgStore &store, qint64 chatId)
{
    const std::vector<MessageRows::Place> places = readPlaces(chatId);
    _MsgChat &none = noConversation(store);
    MessageRows rows(store);
    rows.readPlaced(
        db.queryThrow(Sqlite3Sql(u"select %1 from message order by rowid"_s.arg(columnsToRead()))), places,
        chatId == 0 ? &none : nullptr);
    readDeletedParts(store);
    rows.finish();
    dropUnused(store, none);
}

QString ModernMessages::columnsToRead()
{
    const QHash<QString, _SqliteCol> table = db.tbInfo(u"message"_s);
    QSet<QString> existing = {u"rowid"_s};
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        existing.insert(it.key().toLower());
    return MessageRows::columnsOf(existing).join(u',');
}

// A message that was put back stands in a chat again, whatever else still names it.
std::vector<MessageRows::Place> ModernMessages::readPlaces(qint64 chatId)
{
    std::vector<MessageRows::Place> places;
    const QString ofChat = chatId > 0 ? u" where chat_id=%1"_s.arg(chatId) : QString();
    Sqlite3Cursor joins =
        db.queryThrow(Sqlite3Sql(u"select message_id, chat_id from chat_message_join"_s + ofChat));
    while (joins.moveNextThrow())
        places.push_back({joins.getInt64(0), joins.getInt64(1)});
    if (tables.contains(u"chat_recoverable_message_join"_s)) {
        Sqlite3Cursor deleted = db.queryThrow(Sqlite3Sql(
            u"select message_id, chat_id, delete_date from chat_recoverable_message_join"_s + ofChat));
        while (deleted.moveNextThrow())
            places.push_back(
                {deleted.getInt64(0), deleted.getInt64(1), true, wholeSeconds(deleted.getInt64(2))});
    }
    std::stable_sort(places.begin(), places.end(), [](const auto &a, const auto &b) {
        return std::tie(a.message, a.isDeleted) < std::tie(b.message, b.isDeleted);
    });
    return places;
}

void ModernMessages::readDeletedParts(_MsgStore &store)
{
    if (!tables.contains(u"recoverable_message_part"_s))
        return;
    QHash<_MsgMessage *, QList<MessageEdit>> deleted;
    Sqlite3Cursor cursor =
        db.queryThrow(Sqlite3Sql("select * from recoverable_message_part order by part_index"));
    const int messageId = cursor.columnIndex(u"message_id"_s);
    const int index = cursor.columnIndex(u"part_index"_s);
    const int deleteDate = cursor.columnIndex(u"delete_date"_s);
    const int partText = cursor.columnIndex(u"part_text"_s);
    while (cursor.moveNextThrow()) {
        _MsgMessage *message = store.messages.value(cursor.getInt64(messageId));
        if (!message || (message->extras && message->extras->delete_date != 0))
            continue; // of one that went as a whole, all parts are there
        const std::optional<TypedStreamText> text = textOfTypedStream(cursor.getBytes(partText));
        deleted[message].append(
            {cursor.getInt(index), wholeSeconds(cursor.getInt64(deleteDate)), text ? text->text : QString()});
    }
    for (auto it = deleted.cbegin(); it != deleted.cend(); ++it) {
        if (!it.key()->extras)
            it.key()->extras = new MessageExtras;
        it.key()->extras->deletedParts = it.value();
    }
}
