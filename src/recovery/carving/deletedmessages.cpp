#include "recovery/carving/deletedmessages.h"

#include "recovery/carving/deletedrowsearch.h"
#include "recovery/carving/ios5liverows.h"
#include "recovery/carving/messagerecycledb.h"
#include "recovery/carving/rawvalues.h"
#include "store/people/countrylibdb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"
#include "store/records/reactions.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Whether a message is told by its guid in each run, and not by one that is made for it.
enum class Guid { Own, Made };

/// One without words that has no guid of its own can only be known by all the rest of it.
bool isKnown(MessageRecycleDb &recycle, const _RecycleMessage &recycled, Guid guid)
{
    return recycle.findMessage(recycled.message) != 0 ||
           (guid == Guid::Made && recycle.findWordless(recycled) != 0);
}

Guid guidOf(const _MsgMessage &message)
{
    return isGuid(message.guid) ? Guid::Own : Guid::Made;
}

/// Place of a column in the rows of "message"; -1 where there is none.
qsizetype columnPlace(AbsDb &db, const char *name)
{
    Sqlite3Sql sql("select cid from pragma_table_info('message') where name=?");
    sql.addTextParam(QLatin1StringView(name));
    Sqlite3Cursor cursor = db.queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getInt(0) : -1;
}

/// Ties deleted messages of iOS 6 and later to chats, and keeps them.
class Ios6Keeper
{
public:
    Ios6Keeper(IOS6MessageDb &source, MessageRecycleDb &target, const QList<_MsgChat *> &chats)
        : db(source)
        , recycle(target)
        , hasMessages(!source.tbInfo(u"message"_s).isEmpty())
        , reactionColumn(columnPlace(source, "associated_message_type"))
    {
        QList<const _MsgChat *> sorted(chats.begin(), chats.end());
        std::sort(sorted.begin(), sorted.end(),
                  [](const _MsgChat *a, const _MsgChat *b) { return a->rowid < b->rowid; });
        for (const _MsgChat *chat : std::as_const(sorted))
            addHandlesOf(*chat);
    }

    /// Of a page that was given up. A copy of a message that is there still is kept too, for the day on
    /// which it goes, but it is no find.
    int keepFreed(const Sqlite3RawRow &row)
    {
        std::optional<_RecycleMessage> recycled = messageOf(row);
        if (!recycled || isKnown(recycle, *recycled, guidOf(recycled->message)))
            return 0;
        recycle.insertMessage(recycled->message, recycled->chat_identifier, recycled->handle, row.rowid);
        return isLive(*recycled) ? 0 : 1;
    }

    int keepCarved(const Sqlite3RawRow &row)
    {
        const std::optional<_RecycleMessage> recycled = messageOf(row);
        if (!recycled || isKnown(recycle, *recycled, guidOf(recycled->message)) || isLive(*recycled))
            return 0;
        const bool isTied = chatsByHandle.contains(recycled->message.handle_id);
        recycle.insertMessage(recycled->message, recycled->chat_identifier, recycled->handle,
                              isTied ? 0 : row.rowid);
        return 1;
    }

private:
    // A chat with one partner comes before groups; else the first chat stays.
    void addHandlesOf(const _MsgChat &chat)
    {
        for (const _MsgHandle *handle : chat.handles) {
            if (!isGroup(chat) || !chatsByHandle.contains(handle->rowid))
                chatsByHandle.insert(handle->rowid, {&chat, handle});
        }
    }

    /// It belongs to another message, and the recycle database can't hold to which.
    bool isReaction(const Sqlite3RawRow &row) const
    {
        return reactionColumn >= 0 && reactionColumn < row.values.size() &&
               isReactionType(intOf(row.values.at(reactionColumn)));
    }

    std::optional<_RecycleMessage> messageOf(const Sqlite3RawRow &row)
    {
        if (isReaction(row))
            return std::nullopt;
        std::optional<_RecycleMessage> recycled = rowToIos6Message(row);
        if (!recycled || recycled->message.item_type != 0)
            return std::nullopt;
        const auto tie = chatsByHandle.constFind(recycled->message.handle_id);
        if (tie != chatsByHandle.cend()) {
            // In a group, of all who take part, the one who wrote it.
            recycled->chat_identifier = tie->first->chat_identifier;
            recycled->handle = tie->second->id;
        } else {
            recycled->handle = addressOf(recycled->message.handle_id);
            recycled->chat_identifier = recycled->handle;
        }
        return recycled;
    }

    // Of a handle without a chat. One that is there still is the truth, the others were found.
    QString addressOf(qint64 handleId)
    {
        const QString live = db.handleAddress(handleId);
        return live.isEmpty() ? recycle.handleBySourceRowid(handleId).id : live;
    }

    bool isLive(const _RecycleMessage &recycled)
    {
        return hasMessages && db.messageRowid(recycled.message.guid) != 0;
    }

    IOS6MessageDb &db;
    MessageRecycleDb &recycle;
    bool hasMessages;
    qsizetype reactionColumn;
    QHash<qint64, std::pair<const _MsgChat *, const _MsgHandle *>> chatsByHandle;
};

void removeLive(QList<_RecycleMessage> &messages, AbsIOSMessageDb &phone)
{
    CountryLibDb countries(phone.countryCode());
    const Ios5LiveRows live(phone, countries);
    messages.removeIf([&](const _RecycleMessage &recycled) { return live.contains(recycled); });
}

/// The people of chats that were made anew have names too.
void nameNewcomers(AbsIOSMessageDb &db, _MsgStore &store, const QSet<qint64> &before)
{
    for (_MsgHandle *handle : std::as_const(store.handles)) {
        if (!before.contains(handle->rowid))
            db.nameHandle(*handle);
    }
}

} // namespace

int recoverHandles(SearchedDatabase &database, MessageRecycleDb &recycle, JobProgress *progress)
{
    const auto keep = [&](const Sqlite3RawRow &row) {
        const std::optional<_MsgHandle> handle = rowToHandle(row);
        if (!handle || recycle.findHandle(*handle) != 0)
            return 0;
        recycle.insertHandle(*handle, row.rowid);
        return 1;
    };
    return searchDeletedRows(database, {u"handle"_s, handleColumns(), isPlausibleHandleRow, keep, keep},
                             recycle, progress);
}

int recoverIos6Messages(IOS6MessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                        const QList<_MsgChat *> &chats, JobProgress *progress)
{
    db.openDb();
    Ios6Keeper keeper(db, recycle, chats);
    return searchDeletedRows(database,
                             {u"message"_s, ios6MessageColumns(), isPlausibleIos6Row,
                              [&](const Sqlite3RawRow &row) { return keeper.keepFreed(row); },
                              [&](const Sqlite3RawRow &row) { return keeper.keepCarved(row); }},
                             recycle, progress);
}

int recoverIos5Messages(AbsIOSMessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                        JobProgress *progress)
{
    db.openDb(); // it may have to find its country first
    CountryLibDb countries(db.countryCode());
    const Ios5LiveRows live(db, countries);
    const auto keep = [&](const Sqlite3RawRow &row) {
        const std::optional<_RecycleMessage> recycled = rowToIos5Message(row, countries);
        if (!recycled)
            return 0;
        const bool isSms = recycled->message.service == "SMS"_L1; // these never had guids
        if (isKnown(recycle, *recycled, isSms ? Guid::Made : guidOf(recycled->message)))
            return 0;
        recycle.insertMessage(recycled->message, recycled->chat_identifier, recycled->handle, row.rowid);
        return live.contains(*recycled) ? 0 : 1;
    };
    return searchDeletedRows(database, {u"message"_s, ios5MessageColumns(), isPlausibleIos5Row, keep, keep},
                             recycle, progress);
}

QList<_RecycleMessage> recycledMessages(AbsIOSMessageDb &db)
{
    if (!QFile::exists(recycleDbPath(db.rootFolder())))
        return {};
    MessageRecycleDb recycle(db.rootFolder());
    QList<_RecycleMessage> messages = recycle.loadMessages();
    if (IOS6MessageDb *phone = db.asIos6())
        messages.removeIf(
            [&](const _RecycleMessage &recycled) { return phone->messageRowid(recycled.message.guid) != 0; });
    else
        removeLive(messages, db);
    return messages;
}

void joinRecovered(AbsIOSMessageDb &db, _MsgStore &store, const QList<_RecycleMessage> &messages)
{
    const QList<qint64> people = store.handles.keys();
    MessageRecycleDb::mergeInto(store, messages);
    nameNewcomers(db, store, QSet<qint64>(people.begin(), people.end()));
}

void loadRecycled(AbsIOSMessageDb &db, _MsgStore &store)
{
    joinRecovered(db, store, recycledMessages(db));
}
