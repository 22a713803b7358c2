#include "recovery/local/deletemessages.h"

#include "app/jobprogress.h"
#include "recovery/local/bulkdeletion.h"
#include "sqlite_qt/writetransaction.h"
#include "store/readers/ios6messagedb.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// Runs `work` on a database that is ready for many deletions, in one transaction; whatever it throws
/// rolls back.
template <typename Work>
qint64 deleteInTransaction(IOS6MessageDb &db, const JobProgress &progress, Work work)
{
    db.openDb();
    WriteTransaction transaction(db);
    BulkDeletion bulk(db);
    const qint64 result = work();
    bulk.finish();
    throwIfCancelled(progress);
    transaction.commit();
    return result;
}

struct ChatMember {
    qint64 chat;
    qint64 message;
    bool isShown;
};

Sqlite3Sql withRows(const QString &sql, std::initializer_list<qint64> rowids)
{
    Sqlite3Sql statement(sql);
    for (const qint64 rowid : rowids)
        statement.addInt64Param(rowid);
    return statement;
}

QList<qint64> chatRowidsThrow(IOS6MessageDb &db, const QString &chatIdentifier)
{
    Sqlite3Sql sql("select rowid from chat where chat_identifier=? order by rowid");
    sql.addTextParam(chatIdentifier);
    QList<qint64> chats;
    Sqlite3Cursor cursor = db.queryThrow(sql);
    while (cursor.moveNextThrow())
        chats.append(cursor.getInt64(0));
    if (chats.isEmpty())
        throw std::runtime_error(
            u"The Local Database has no conversation \"%1\"."_s.arg(chatIdentifier).toStdString());
    return chats;
}

QList<qint64> chatRowidsThrow(IOS6MessageDb &db, const QStringList &chatIdentifiers)
{
    QStringList asked = chatIdentifiers;
    asked.removeDuplicates();
    QList<qint64> chats;
    for (const QString &identifier : std::as_const(asked))
        chats.append(chatRowidsThrow(db, identifier));
    return chats;
}

QList<ChatMember> membersOf(IOS6MessageDb &db, const QList<qint64> &chats)
{
    // Some are kept but not shown.
    const QString shown = db.shownCondition();
    const QString sql = u"select j.message_id, %1 from chat_message_join as j inner join message as m on "
                        "j.message_id = m.rowid and j.chat_id=?"_s.arg(shown.isEmpty() ? u"1"_s : shown);
    QList<ChatMember> members;
    for (const qint64 chat : chats) {
        Sqlite3Cursor cursor = db.queryThrow(withRows(sql, {chat}));
        while (cursor.moveNextThrow())
            members.append({chat, cursor.getInt64(0), cursor.getInt(1) != 0});
    }
    return members;
}

/// Takes a message out of a chat. Returns whether it stood in no other and is gone.
bool removeMember(IOS6MessageDb &db, const ChatMember &member)
{
    db.executeThrow(withRows(u"delete from chat_message_join where chat_id=? and message_id=?"_s,
                             {member.chat, member.message}));
    if (db.queryThrow(withRows(u"select 1 from chat_message_join where message_id=?"_s, {member.message}))
            .moveNextThrow())
        return false;
    _MsgMessage message;
    message.rowid = member.message;
    db.deleteMessage(message);
    return true;
}

/// Throws where the row of `message` has come to hold another one since it was read.
void checkUnchangedThrow(IOS6MessageDb &db, const _MsgMessage &message)
{
    Sqlite3Cursor cursor =
        db.queryThrow(withRows(u"select guid from message where rowid=?"_s, {message.rowid}));
    if (cursor.moveNextThrow() && cursor.getText(0) != message.guid)
        throw std::runtime_error(
            u"%1: the messages were changed by another program since they were read. Read them again, then "
            "delete."_s.arg(db.databasePath())
                .toStdString());
}

qint64 removeMembers(IOS6MessageDb &db, const QList<ChatMember> &members, JobProgress &progress)
{
    qint64 removed = 0;
    workThrough(members, progress, {}, [&](const ChatMember &member) {
        if (removeMember(db, member) && member.isShown)
            ++removed;
    });
    return removed;
}

} // namespace

qint64 deleteMessages(IOS6MessageDb &db, const QList<_MsgMessage *> &messages, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_DELETING_LOCAL_DB_MESSAGES"), 0, {});
    return deleteInTransaction(db, progress, [&] {
        workThrough(messages, progress, {}, [&](const _MsgMessage *message) {
            checkUnchangedThrow(db, *message);
            db.deleteMessage(*message);
        });
        return qint64(messages.size());
    });
}

qint64 deleteConversations(IOS6MessageDb &db, const QStringList &chatIdentifiers, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_DELETING_LOCAL_DB_MESSAGES"), 0, {});
    return deleteInTransaction(db, progress, [&] {
        const QList<qint64> chats = chatRowidsThrow(db, chatIdentifiers);
        const qint64 removed = removeMembers(db, membersOf(db, chats), progress);
        for (const qint64 chat : chats) {
            db.executeThrow(withRows(u"delete from chat_handle_join where chat_id=?"_s, {chat}));
            db.executeThrow(withRows(u"delete from chat where rowid=?"_s, {chat}));
        }
        return removed;
    });
}
