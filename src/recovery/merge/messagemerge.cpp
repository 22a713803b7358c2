#include "recovery/merge/messagemerge.h"

#include "app/jobprogress.h"
#include "recovery/merge/phonetwins.h"
#include "sqlite_qt/writetransaction.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QDebug>
#include <QObject>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 longestRun = 1000; // rows between two looks at whether the job is cancelled
constexpr int toBeSentLater = 2;

void execThrow(Sqlite3DB &db, const char *sql)
{
    db.executeThrow(Sqlite3Sql(sql));
}

QString quoted(QString name)
{
    return u'"' + name.replace(u'"', "\"\""_L1) + u'"';
}

/// The number that tells the order in the source; 0 where only the date does.
qint64 rowInSource(const _MsgMessage &message)
{
    return message.isRecovered ? 0 : message.src_rowid;
}

/// The statement that copies the rows of `table` whose `key` lies between ?2 and ?3; ?1 is added to it.
QString copyStatement(Sqlite3DB &db, const QString &table, const QString &key)
{
    QStringList columns{key};
    QStringList values{key + u"+?1"_s};
    const QHash<QString, _SqliteCol> known = db.tbInfo(table);
    for (const _SqliteCol &column : known) {
        const bool isKey = column.name.compare(key, Qt::CaseInsensitive) == 0;
        if (isKey || (key == "rowid"_L1 && column.primaryKey))
            continue;
        columns.append(quoted(column.name));
        values.append(quoted(column.name));
    }
    return u"insert into main.%1(%2) select %3 from phone.%1 where %4 between ?2 and ?3 order by %4"_s.arg(
        table, columns.join(u','), values.join(u','), key);
}

const auto anyService = "any;"_L1;

bool isKnownService(const QString &service)
{
    return service == "SMS"_L1 || service == "iMessage"_L1;
}

/// The service of the chat that the message belongs to on a phone whose chats are of one each.
const QString &serviceOf(const _MsgMessage &message)
{
    const bool isOfAny = message.chat->guid.startsWith(anyService) && !message.service.isEmpty();
    return isOfAny ? message.service : message.chat->service_name;
}

} // namespace

MessageMerge::ChatOfService::ChatOfService(const _MsgChat &anyChat, const QString &service) : chat(anyChat)
{
    chat.guid = service + chat.guid.sliced(anyService.size() - 1);
    if (chat.service_name != service) {
        chat.account_id.clear();
        chat.account_login = _MsgChat().account_login;
        chat.service_name = service;
    }
    for (_MsgHandle *&handle : chat.handles) {
        handle = &members.emplace_back(*handle);
        handle->service = service;
    }
}

MessageMerge::MessageMerge(const QString &phoneFile, const QString &mergedPath,
                           const AttachmentNames::Place &place, JobProgress &jobProgress)
    : phonePath(phoneFile)
    , progress(jobProgress)
    , db(QDir(), mergedPath, QString(), false)
    , writer(db)
    , names(db, place)
{
}

MergeCounts MessageMerge::run(const QList<_MsgMessage *> &messages)
{
    open();
    choose(messages);
    if (counts.validCount == 0)
        throw std::runtime_error(QObject::tr("IDS_NO_VALID_MESSAGE_RESTORE_TO_IOS_%1_UNKNOWN_CHAT_MSG")
                                     .arg(counts.unknownCount)
                                     .toStdString());
    const std::vector<MergeItem> items = mergeOrder(phoneRows(), fresh);
    clear();
    WriteTransaction transaction(db);
    write(items);
    completeKnown();
    writer.finish();
    transaction.commit();
    db.close();
    counts.written = qint64(fresh.size());
    return counts;
}

// The file is a copy that goes if anything fails: it needs no journal and no order on the disk.
void MessageMerge::open()
{
    db.openToWrite();
    db.setTriggersEnabled(false);
    execThrow(db, "pragma journal_mode=off");
    execThrow(db, "pragma synchronous=off");
    execThrow(db, "pragma cache_size=-65536");
    Sqlite3Sql attach("attach ? as phone");
    attach.addTextParam(phonePath);
    db.executeThrow(attach);
    copies = {copyStatement(db, u"message"_s, u"rowid"_s),
              copyStatement(db, u"chat_message_join"_s, u"message_id"_s),
              copyStatement(db, u"message_attachment_join"_s, u"message_id"_s)};
}

bool MessageMerge::isRefused(const _MsgMessage &message)
{
    if (!MessageWriter::hasKnownChat(message) || isOfUnknownAddress(*message.chat) ||
        isNoConversation(*message.chat))
        return true;
    const QString &service = serviceOf(message);
    if (isKnownService(service))
        return false;
    qDebug("a message is left out: a phone with this database doesn't know the service %ls",
           qUtf16Printable(service));
    return true;
}

void MessageMerge::choose(const QList<_MsgMessage *> &messages)
{
    QSet<QString> guids;
    QList<const _MsgMessage *> others;
    const bool holdsEvents = db.hasItemType();
    for (const _MsgMessage *message : messages) {
        if (isRefused(*message)) {
            ++counts.unknownCount;
            continue;
        }
        const bool isToCome = message->extras && message->extras->schedule_type == toBeSentLater;
        if ((message->item_type != 0 && !holdsEvents) || isToCome)
            continue;
        ++counts.validCount;
        const bool isTwin = guids.contains(message->guid);
        guids.insert(message->guid);
        if (isTwin || db.messageRowid(message->guid) != 0)
            known.append({message, message->guid});
        else
            others.append(message);
    }
    chooseByContent(others, guids);
}

void MessageMerge::chooseByContent(const QList<const _MsgMessage *> &messages,
                                   const QSet<QString> &chosenGuids)
{
    PhoneTwins twins;
    for (const _MsgMessage *message : messages)
        twins.expect(*message);
    twins.read(db, chosenGuids);
    for (const _MsgMessage *message : messages) {
        if (const QString guid = twins.take(*message); !guid.isEmpty())
            known.append({message, guid});
        else
            fresh.push_back({rowInSource(*message), message->date, message});
    }
}

std::vector<MergeItem> MessageMerge::phoneRows()
{
    std::vector<MergeItem> rows;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select rowid, date from message order by rowid"));
    while (cursor.moveNextThrow())
        rows.push_back({cursor.getInt64(0), cursor.getInt64(1), nullptr});
    return rows;
}

// Chats, people and attachments keep their rows, so they stay where they are.
void MessageMerge::clear()
{
    for (const char *sql :
         {"delete from main.message", "delete from main.message_attachment_join",
          "delete from main.chat_message_join", "update main.chat set properties=null",
          "update main.sqlite_sequence set seq=0 where name='message'",
          "update main.sqlite_sequence set seq=(select ifnull(max(rowid),0) from main.chat) "
          "where name='chat'",
          "update main.sqlite_sequence set seq=(select ifnull(max(rowid),0) from "
          "main.handle) where name='handle'",
          "update main.sqlite_sequence set seq=(select ifnull(max(rowid),0) from "
          "main.attachment) where name='attachment'",
          "vacuum main"})
        execThrow(db, sql);
}

void MessageMerge::write(const std::vector<MergeItem> &items)
{
    ProgressPace pace(qint64(items.size()));
    for (size_t i = 0; i < items.size();) {
        throwIfCancelled(progress);
        const size_t start = i++;
        if (items[start].message) {
            insertChosen(*items[start].message);
        } else {
            const qint64 first = items[start].rowid;
            while (i < items.size() && !items[i].message && items[i].rowid == items[i - 1].rowid + 1 &&
                   items[i].rowid - first < longestRun)
                ++i;
            copyRun({first, items[i - 1].rowid});
        }
        if (pace.isDue(qint64(i)))
            progress.updateProgress({}, percentOf(qint64(i), qint64(items.size())) * 99 / 100, {});
    }
    throwIfCancelled(progress);
}

void MessageMerge::copyRun(const Run &run)
{
    for (const QString &copy : std::as_const(copies)) {
        Sqlite3Sql sql(copy);
        sql.addInt64Param(lastRow + 1 - run.first);
        sql.addInt64Param(run.first);
        sql.addInt64Param(run.last);
        db.executeThrow(sql);
    }
    lastRow += run.last - run.first + 1;
}

const _MsgChat &MessageMerge::phoneChat(const _MsgMessage &message)
{
    const _MsgChat &chat = *message.chat;
    if (!chat.guid.startsWith(anyService))
        return chat;
    const QString &service = serviceOf(message);
    return chatsOfService.try_emplace({chat.guid, service}, chat, service).first->second.chat;
}

MessageMerge::Place MessageMerge::place(const _MsgMessage &message)
{
    const _MsgChat &chat = phoneChat(message);
    const qint64 chatId = writer.chatRowid(chat);
    writer.noteAddressed(message, chatId);
    return {chatId, writer.personRowid(chat, chatId, message.handle)};
}

// What the phone's own triggers do for a new message: the names of its rooms.
void MessageMerge::insertChosen(const _MsgMessage &message)
{
    const Place rows = place(message);
    lastRow = writer.insert(message, rows.chat, rows.handle, {});
    if (!message.chat->room_name.isEmpty()) {
        Sqlite3Sql sql(
            "update message set cache_roomnames=(select group_concat(c.room_name) from chat c inner "
            "join chat_message_join j on c.rowid=j.chat_id where j.message_id=?1) where rowid=?1");
        sql.addInt64Param(lastRow);
        db.executeThrow(sql);
    }
    joinAttachments(message, lastRow);
}

void MessageMerge::completeKnown()
{
    for (const auto &[message, guid] : std::as_const(known)) {
        place(*message);
        if (message->attachments.isEmpty())
            continue;
        const qint64 messageId = db.messageRowid(guid);
        joinAttachments(*message, messageId);
        Sqlite3Sql sql("update message set cache_has_attachments=1 where rowid=?");
        sql.addInt64Param(messageId);
        db.executeThrow(sql);
    }
}

void MessageMerge::joinAttachments(const _MsgMessage &message, qint64 messageId)
{
    if (message.attachments.isEmpty())
        return;
    for (const _MsgAttachment *attachment : sortedAttachments(message)) {
        joined.append(*attachment);
        joined.last().filename = names.pathFor(*attachment);
        writer.joinAttachment(joined.last(), messageId);
    }
}
