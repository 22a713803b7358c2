#include "store/readers/sourcerows.h"

#include "app/appledates.h"
#include "store/readers/keptcolumns.h"
#include "store/records/columntables.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Numbers of rows of the file, which are others elsewhere; what they join is joined there too.
bool isRowNumber(const QString &column)
{
    static const QSet<QString> names = {u"rowid"_s, u"handle_id"_s, u"other_handle"_s};
    return names.contains(column.toLower());
}

bool tellsNothing(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::LongLong: return value.toLongLong() == 0;
    case QMetaType::Double: return value.toDouble() == 0;
    case QMetaType::QString: return value.toString().isEmpty();
    default: return value.toByteArray().isEmpty();
    }
}

bool isAlike(const QVariant &value, qint64 held)
{
    return value.typeId() == QMetaType::LongLong && value.toLongLong() == held;
}

bool isAlike(const QVariant &value, const QString &held)
{
    return value.typeId() == QMetaType::QString && value.toString() == held;
}

bool isAlike(const QVariant &value, const QByteArray &held)
{
    return value.typeId() == QMetaType::QByteArray && value.toByteArray() == held;
}

template <typename Record>
bool isHeld(const RecordColumn<Record> &column, const QVariant &value, const Record &record)
{
    bool isAlikeThere = false;
    visitMember(column, [&](auto member) { isAlikeThere = isAlike(value, record.*member); });
    return isAlikeThere;
}

template <typename Record>
const RecordColumn<Record> *columnNamed(RecordColumns<Record> columns, const QString &name)
{
    const auto at = std::find_if(columns.begin(), columns.end(), [&](const RecordColumn<Record> &column) {
        return column.name.compare(name, Qt::CaseInsensitive) == 0 &&
               column.traits.local != LocalColumn::Not &&
               (column.traits.inserted == Inserted::Always || column.traits.inserted == Inserted::IfFilled);
    });
    return at == columns.end() ? nullptr : &*at;
}

template <typename Record>
using Held = SourceRows::Held<Record>;

template <typename Record>
Held<Record> heldIn(RecordColumns<Record> columns, const QString &name)
{
    const RecordColumn<Record> *column = columnNamed(columns, name);
    return column ? [column](const QVariant &value,
                             const Record &record) { return isHeld(*column, value, record); }
                  : Held<Record>();
}

// Which column of a Local Database holds a column of a phone.

Held<_MsgMessage> messageColumn(const QString &name)
{
    if (const RecordColumn<MessageExtras> *column = columnNamed(extrasTable(), name))
        return [column](const QVariant &value, const _MsgMessage &message) {
            return message.extras && isHeld(*column, value, *message.extras);
        };
    return heldIn(messageTable(), name);
}

Held<_MsgMessage> ios5MessageColumn(const QString &name)
{
    for (const Ios5Column &at : ios5MessageTable()) {
        if (at.use != Ios5Use::No && at.column.name == name)
            return [&](const QVariant &value, const _MsgMessage &message) {
                return isHeld(at.column, value, message);
            };
    }
    return {};
}

Held<MessageReaction> reactionColumn(const QString &name)
{
    return heldIn(reactionTable(), name);
}

Held<_MsgChat> chatColumn(const QString &name)
{
    return heldIn(chatTable(), name);
}

Held<_MsgHandle> handleColumn(const QString &name)
{
    return heldIn(handleTable(), name);
}

Held<_MsgAttachment> attachmentColumn(const QString &name)
{
    return heldIn(attachmentTable(), name);
}

Held<_MsgAttachment> ios5AttachmentColumn(const QString &)
{
    return {};
}

QString quoted(QString name)
{
    return u'"' + name.replace(u'"', u"\"\""_s) + u'"';
}

/// A text that is no UTF-8 as it lies.
QVariant exactValue(const Sqlite3Cursor &cursor, int position)
{
    const QVariant value = cursor.getValue(position);
    if (value.typeId() != QMetaType::QString || !value.toString().contains(QChar::ReplacementCharacter))
        return value;
    const QByteArrayView bytes = cursor.getUtf8(position);
    return value.toString().toUtf8() == bytes ? value : QVariant(bytes.toByteArray());
}

constexpr int identityPosition = 0;
constexpr int firstPosition = 1;

} // namespace

SourceRows::SourceRows(const QString &path) : file(path)
{
    const QHash<QString, QString> tables = tableTexts(file.db);
    isLocal = file.db.tbInfo(u"message"_s).contains(u"logic_hash"_s);
    isIos5 = !tables.contains(u"chat_message_join"_s);
    if (isLocal && !tables.contains(u"_source_column"_s))
        return; // made before there was any; nothing is kept beside its rows
    if (isLocal) {
        Sqlite3Cursor cursor = file.db.queryThrow(
            Sqlite3Sql("select rowid, source_table, name from _source_column order by rowid"));
        while (cursor.moveNextThrow())
            keptNumbers.insert(cursor.getInt64(0), columnNumber(cursor.getText(1), cursor.getText(2), false));
    } else if (isIos5) {
        messages = tableOf("message", "date", u"ios5."_s, ios5MessageColumn);
        attachments = tableOf("madrid_attachment", "attachment_guid", u"ios5."_s, ios5AttachmentColumn);
    } else {
        messages = tableOf("message", "guid", {}, messageColumn);
        reactions = tableOf("message", "guid", {}, reactionColumn);
        chats = tableOf("chat", "guid", {}, chatColumn);
        handles = tableOf("handle", "service", {}, handleColumn);
        attachments = tableOf("attachment", "guid", {}, attachmentColumn);
    }
}

qsizetype SourceRows::columnNumber(const QString &table, const QString &name, bool isHeld)
{
    const auto at = numbers.constFind({table, name});
    if (at != numbers.cend())
        return *at;
    known.append({table, name, isHeld});
    numbers.insert({table, name}, known.size() - 1);
    return known.size() - 1;
}

template <typename Record>
SourceRows::Table<Record> SourceRows::tableOf(const char *name, const char *identity, const QString &prefix,
                                              Held<Record> (*heldBy)(const QString &))
{
    const QString table = QString::fromLatin1(name);
    const QHash<QString, _SqliteCol> columns = file.db.tbInfo(table);
    if (columns.isEmpty())
        return {};
    QStringList names = columns.keys();
    names.removeIf(isRowNumber);
    names.sort(); // the same order in each run
    Table<Record> result;
    QStringList selected = {QString::fromLatin1(identity)};
    for (const QString &column : std::as_const(names)) {
        selected.append(quoted(column));
        const Held<Record> held = heldBy(column);
        result.places.append({columnNumber(prefix + table, column, bool(held)), held});
    }
    result.sql = u"select %1 from %2 where rowid=?"_s.arg(selected.join(u','), table);
    return result;
}

template <typename Record>
SourceRows::Values SourceRows::read(const Table<Record> &table, qint64 rowid, const QStringList &identities,
                                    const Record &record)
{
    if (table.sql.isEmpty())
        return {};
    Sqlite3Sql sql(table.sql);
    sql.addInt64Param(rowid);
    Sqlite3Cursor cursor = file.db.queryThrow(sql);
    if (!cursor.moveNextThrow() || !identities.contains(cursor.getText(identityPosition)))
        return {};
    Values values;
    for (int i = 0; i < int(table.places.size()); ++i) {
        if (cursor.isNull(firstPosition + i))
            continue;
        const QVariant value = exactValue(cursor, firstPosition + i);
        const Place<Record> &place = table.places.at(i);
        if (!tellsNothing(value) && !(place.isHeld && place.isHeld(value, record)))
            values.append({place.column, value});
    }
    return values;
}

SourceRows::Values SourceRows::readKept(const char *table, qint64 rowid)
{
    if (keptNumbers.isEmpty())
        return {};
    Sqlite3Sql sql(u"select columns from %1 where rowid=?"_s.arg(QLatin1StringView(table)));
    sql.addInt64Param(rowid);
    Sqlite3Cursor cursor = file.db.queryThrow(sql);
    if (!cursor.moveNextThrow())
        return {};
    Values values;
    for (const KeptColumn &column : decodeKeptColumns(cursor.getBlob(0))) {
        const auto number = keptNumbers.constFind(column.number);
        if (number != keptNumbers.cend())
            values.append({*number, column.value});
    }
    return values;
}

SourceRows::Values SourceRows::of(const _MsgMessage &message)
{
    if (isLocal)
        return readKept("_message_source", message.src_rowid);
    if (!isIos5)
        return read(messages, message.src_rowid, {message.guid}, message);
    const QString unixDate = QString::number(message.date + appleEpoch); // of SMS
    return read(messages, message.src_rowid, {unixDate, QString::number(message.date)}, message);
}

SourceRows::Values SourceRows::of(const MessageReaction &reaction)
{
    return isLocal ? readKept("_reaction_source", reaction.rowid)
                   : read(reactions, reaction.rowid, {reaction.guid}, reaction);
}

SourceRows::Values SourceRows::of(const _MsgChat &chat)
{
    return isLocal ? readKept("_chat_source", chat.rowid) : read(chats, chat.rowid, {chat.guid}, chat);
}

SourceRows::Values SourceRows::of(const _MsgHandle &handle)
{
    return isLocal ? readKept("_handle_source", handle.rowid)
                   : read(handles, handle.rowid, {handle.service}, handle);
}

SourceRows::Values SourceRows::of(const _MsgAttachment &attachment)
{
    return isLocal ? readKept("_attachment_source", attachment.rowid)
                   : read(attachments, attachment.rowid, {attachment.guid}, attachment);
}
