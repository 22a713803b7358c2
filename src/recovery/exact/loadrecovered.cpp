// How finds of both searches come back with the messages of their source.

#include "recovery/carving/deletedmessages.h"
#include "recovery/exact/recoverexactly.h"
#include "store/readers/ios5messagedb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <QFile>
#include <QSet>

using namespace Qt::StringLiterals;

namespace
{

// Numbers that neither messages of a source have nor those of the recycle database.
constexpr qint64 aboveFinds = -(qint64(1) << 40);

/// The messages that a list holds, by what tells one from another: a guid, or address, date, direction and
/// words. Text messages before iOS 6 have no guid of their own.
class KnownMessages
{
public:
    void add(const _MsgMessage &message, const QString &address)
    {
        guids.insert(message.guid);
        texts.insert(keyOf(message, address));
    }

    bool contains(const _MsgMessage &message, const QString &address) const
    {
        return guids.contains(message.guid) ||
               (message.date != 0 && !message.text.isEmpty() && texts.contains(keyOf(message, address)));
    }

private:
    static QString keyOf(const _MsgMessage &message, const QString &address)
    {
        return QString::number(message.date) + (message.is_from_me ? u'>' : u'<') + address + u'\n' +
               message.text;
    }

    QSet<QString> guids;
    QSet<QString> texts;
};

QString addressOf(const _MsgMessage &message)
{
    return message.handle ? message.handle->id : QString();
}

std::shared_ptr<RecoveryTrace> traceOf(const Sqlite3Cursor &find)
{
    auto trace = std::make_shared<RecoveryTrace>();
    trace->grade = FindGrade(find.getInt(u"grade"_s));
    trace->method = FindMethod(find.getInt(u"method"_s));
    trace->origin = FindOrigin(find.getInt(u"origin"_s));
    trace->page = find.getInt64(u"page"_s);
    trace->offset = find.getInt64(u"offset"_s);
    trace->missing = find.getText(u"missing"_s).split(u',', Qt::SkipEmptyParts);
    return trace;
}

bool isMessageOfItsOwn(const _MsgMessage &message)
{
    return message.item_type == 0 && (!message.extras || message.extras->associated_message_type == 0);
}

/// A find as the recycle database would have it.
_RecycleMessage recycledOf(const _MsgMessage &message, const Sqlite3Cursor &find)
{
    _RecycleMessage recycled{message, {}, addressOf(message)};
    recycled.message.rowid = aboveFinds - message.rowid;
    recycled.message.recovery = traceOf(find);
    recycled.message.chat = nullptr;
    recycled.message.handle = nullptr; // they go with the store that they were read into
    recycled.message.otherHandle = nullptr;
    recycled.message.attachments.clear();
    const QString room = find.getText(u"room"_s).section(u',', 0, 0);
    recycled.chat_identifier = room.isEmpty() ? recycled.handle : room;
    return recycled;
}

std::unique_ptr<AbsIOSMessageDb> readerOfFinds(AbsIOSMessageDb &db, const QString &path)
{
    if (db.asIos6())
        return std::make_unique<IOS6MessageDb>(db.rootFolder(), path, db.countryCode(), false);
    return std::make_unique<IOS5MessageDb>(db.rootFolder(), path, db.countryCode());
}

QList<_RecycleMessage> exactFinds(AbsIOSMessageDb &db)
{
    const QString path = findsDbPath(db.rootFolder());
    if (!QFile::exists(path))
        return {};
    const std::unique_ptr<AbsIOSMessageDb> reader = readerOfFinds(db, path);
    reader->openDb();
    QList<_RecycleMessage> finds;
    if (reader->tbInfo(u"message"_s).isEmpty()) // a search was cancelled at its start
        return finds;
    _MsgStorePtr store = _MsgStorePtr::create();
    reader->messages(store, 0);
    const QString room = db.asIos6() ? u"cache_roomnames"_s : u"madrid_roomname"_s;
    const QString column = reader->tbInfo(u"message"_s).contains(room) ? room : u"null"_s;
    Sqlite3Cursor find = reader->queryThrow(
        Sqlite3Sql(u"select f.*, m.%1 as room from find as f inner join message as m on m.rowid = f.row "
                   "where f.kind = 'message' order by f.row"_s.arg(column)));
    while (find.moveNextThrow()) {
        const _MsgMessage *message = store->messages.value(find.getInt64(u"row"_s));
        if (message && isMessageOfItsOwn(*message))
            finds.append(recycledOf(*message, find));
    }
    return finds;
}

} // namespace

void loadRecovered(AbsIOSMessageDb &db, _MsgStore &store)
{
    KnownMessages known;
    for (const _MsgMessage *message : std::as_const(store.messages))
        known.add(*message, addressOf(*message));
    QList<_RecycleMessage> recovered;
    const auto take = [&](const QList<_RecycleMessage> &messages) {
        for (const _RecycleMessage &recycled : messages) {
            if (known.contains(recycled.message, recycled.handle))
                continue;
            known.add(recycled.message, recycled.handle);
            recovered.append(recycled);
        }
    };
    take(exactFinds(db)); // they come first: of what both found theirs is the truth
    take(recycledMessages(db));
    joinRecovered(db, store, recovered);
}
