#include "recovery/local/sourcecolumns.h"

#include "sqlite_qt/sqlite3db.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto messageRows = "_message_source";
constexpr auto reactionRows = "_reaction_source";
constexpr auto chatRows = "_chat_source";
constexpr auto handleRows = "_handle_source";
constexpr auto attachmentRows = "_attachment_source";

bool names(const QList<KeptColumn> &columns, qint64 number)
{
    return std::any_of(columns.begin(), columns.end(),
                       [&](const KeptColumn &column) { return column.number == number; });
}

/// `columns` with those of `others` that they lack.
QList<KeptColumn> completed(QList<KeptColumn> columns, const QList<KeptColumn> &others)
{
    for (const KeptColumn &other : others)
        if (!names(columns, other.number))
            columns.append(other);
    return columns;
}

QByteArray keptBytes(Sqlite3DB &db, const QString &table, qint64 rowid)
{
    Sqlite3Sql sql(u"select columns from %1 where rowid=?"_s.arg(table));
    sql.addInt64Param(rowid);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    return cursor.moveNextThrow() ? cursor.getBlob(0) : QByteArray();
}

} // namespace

SourceColumns::SourceColumns(Sqlite3DB &target, HandleRowid handles)
    : db(target), handleRowid(std::move(handles))
{
}

void SourceColumns::useSource(const QString &path)
{
    if (path == sourcePath)
        return;
    sourcePath = path;
    source.reset();
    if (path.isEmpty())
        return;
    std::shared_ptr<Source> &known = sources[path];
    if (!known)
        known = std::make_shared<Source>(path);
    source = known;
}

// A recovered row stands nowhere in its source.
void SourceColumns::keep(const _MsgMessage &message, qint64 messageId, State state)
{
    if (source && !message.isRecovered)
        keep(messageRows, messageId, source->rows.of(message), state);
}

void SourceColumns::keep(const MessageReaction &reaction, qint64 reactionId)
{
    if (source)
        keep(reactionRows, reactionId, source->rows.of(reaction), State::First);
}

void SourceColumns::keep(const _MsgChat &chat, qint64 chatId)
{
    if (!source || !isFirst(chatRows, chatId))
        return;
    keep(chatRows, chatId, source->rows.of(chat), State::First);
    for (const _MsgHandle *handle : chat.handles)
        if (const qint64 rowid = handleRowid(*handle); rowid != 0)
            keep(*handle, rowid);
}

void SourceColumns::keep(const _MsgHandle &handle, qint64 handleId)
{
    if (source && isFirst(handleRows, handleId))
        keep(handleRows, handleId, source->rows.of(handle), State::First);
}

void SourceColumns::keep(const _MsgAttachment &attachment, qint64 attachmentId)
{
    if (source)
        keep(attachmentRows, attachmentId, source->rows.of(attachment), State::First);
}

void SourceColumns::forget()
{
    sourcePath.clear();
    source.reset();
    sources.clear();
    seen.clear();
}

bool SourceColumns::isFirst(const char *table, qint64 rowid)
{
    const qsizetype before = seen.size();
    seen.insert({table, rowid});
    return seen.size() > before;
}

void SourceColumns::keep(const char *table, qint64 rowid, const SourceRows::Values &values, State state)
{
    if (values.isEmpty())
        return;
    const QString name = QString::fromLatin1(table);
    QList<KeptColumn> columns = numbered(values);
    const QByteArray before = keptBytes(db, name, rowid);
    if (!before.isEmpty()) {
        QList<KeptColumn> kept = decodeKeptColumns(before);
        if (state == State::Later)
            removeHeld(kept);
        columns = state == State::Later ? completed(columns, kept) : completed(kept, columns);
    }
    std::sort(columns.begin(), columns.end(),
              [](const KeptColumn &a, const KeptColumn &b) { return a.number < b.number; });
    const QByteArray bytes = encodeKeptColumns(columns);
    if (bytes == before)
        return;
    Sqlite3Sql sql(u"replace into %1(rowid, columns) values(?,?)"_s.arg(name));
    sql.addInt64Param(rowid);
    sql.addBlobParam(bytes);
    db.executeThrow(sql);
}

QList<KeptColumn> SourceColumns::numbered(const SourceRows::Values &values)
{
    QList<KeptColumn> columns;
    columns.reserve(values.size());
    for (const SourceRows::Value &value : values)
        columns.append({columnRowid(value.column), value.value});
    return columns;
}

void SourceColumns::removeHeld(QList<KeptColumn> &columns)
{
    QSet<qint64> held;
    for (qsizetype i = 0; i < source->rows.columns().size(); ++i)
        if (source->rows.columns().at(i).isHeld)
            held.insert(columnRowid(i));
    columns.removeIf([&](const KeptColumn &column) { return held.contains(column.number); });
}

qint64 SourceColumns::columnRowid(qsizetype place)
{
    source->numbers.resize(source->rows.columns().size());
    qint64 &number = source->numbers[place];
    if (number != 0)
        return number;
    const SourceRows::Column &column = source->rows.columns().at(place);
    Sqlite3Sql insert("insert or ignore into _source_column(source_table, name) values(?,?)");
    insert.addTextParam(column.table);
    insert.addTextParam(column.name);
    db.executeThrow(insert);
    Sqlite3Sql known("select rowid from _source_column where source_table=? and name=?");
    known.addTextParam(column.table);
    known.addTextParam(column.name);
    Sqlite3Cursor cursor = db.queryThrow(known);
    number = cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
    return number;
}
