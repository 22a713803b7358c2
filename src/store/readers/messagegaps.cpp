#include "store/readers/messagegaps.h"

#include "store/readers/absmessagedb.h"
#include "store/records/messagestore.h"

#include <QLocale>
#include <QObject>
#include <QSet>

using namespace Qt::StringLiterals;

namespace
{

/// Gathers row numbers that are missing until a message stands behind them.
class GapCollector
{
public:
    /// The next row that is there; `message` is null when it is shown as none.
    void addRow(qint64 row, const _MsgMessage *message)
    {
        gap.missing += row - lastRow - 1;
        lastRow = row;
        if (message) {
            closeAt(message);
            gap.after = message;
        }
    }
    /// `highestRow` is the highest number that was ever given; 0 when unknown.
    MessageGaps finish(qint64 highestRow)
    {
        if (highestRow > lastRow)
            gap.missing += highestRow - lastRow;
        closeAt(nullptr);
        return gaps;
    }

private:
    void closeAt(const _MsgMessage *message)
    {
        if (gap.missing == 0)
            return;
        gap.before = message;
        const bool haveChats = gap.after && message && gap.after->chat && message->chat;
        if (haveChats && gap.after->chat->chat_identifier == message->chat->chat_identifier)
            gap.chat_identifier = message->chat->chat_identifier;
        gaps.missing += gap.missing;
        gaps.list.append(gap);
        gap = {};
    }

    MessageGaps gaps;
    MessageGap gap;
    qint64 lastRow = 0;
};

bool hasTable(Sqlite3DB &db, const QString &table)
{
    Sqlite3Sql sql("select 1 from sqlite_master where type='table' and name=?");
    sql.addTextParam(table);
    return db.queryThrow(sql).moveNextThrow();
}

/// The highest row number that `table` ever had; nothing where that is not known.
std::optional<qint64> highestRowEver(Sqlite3DB &db, const QString &table)
{
    if (!hasTable(db, table) || !hasTable(db, u"sqlite_sequence"_s))
        return std::nullopt;
    Sqlite3Sql sql("select seq from sqlite_sequence where name=?");
    sql.addTextParam(table);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

QString dayOf(const _MsgMessage &message)
{
    return QLocale::system().toString(appleDateTime(message.date).date(), QLocale::ShortFormat);
}

} // namespace

MessageGaps messageGaps(AbsIOSMessageDb &db, const _MsgStore &store)
{
    db.openDb();
    if (db.isLocalDatabase())
        return {};
    GapCollector collector;
    Sqlite3Cursor cursor =
        db.queryThrow(Sqlite3Sql("select rowid from message where rowid > 0 order by rowid"));
    while (cursor.moveNextThrow()) {
        const qint64 row = cursor.getInt64(0);
        collector.addRow(row, store.messages.value(row));
    }
    MessageGaps gaps = collector.finish(highestRowEver(db, u"message"_s).value_or(0));
    gaps.recordedDeletions = highestRowEver(db, u"deleted_messages"_s);
    return gaps;
}

QList<MessageGap> gapsOfSession(const MessageGaps &gaps, const _MsgSession &session)
{
    QSet<QString> identifiers;
    for (const _MsgChat *chat : session.chats)
        identifiers.insert(chat->chat_identifier);
    QList<MessageGap> found;
    for (const MessageGap &gap : gaps.list) {
        if (gap.after && gap.before && identifiers.contains(gap.chat_identifier))
            found.append(gap);
    }
    return found;
}

QString gapText(const MessageGap &gap)
{
    if (gap.after && gap.before)
        return QObject::tr("IDS_GAP_%1_BETWEEN_%2_AND_%3")
            .arg(QString::number(gap.missing), dayOf(*gap.after), dayOf(*gap.before));
    if (gap.before)
        return QObject::tr("IDS_GAP_%1_BEFORE_%2").arg(QString::number(gap.missing), dayOf(*gap.before));
    if (gap.after)
        return QObject::tr("IDS_GAP_%1_AFTER_%2").arg(QString::number(gap.missing), dayOf(*gap.after));
    return QObject::tr("IDS_GAP_%1").arg(gap.missing);
}
