#include "sqlite_qt/sqlite3cursor.h"

#include "sqlite_qt/sqlite3stmt.h"

#include <sqlite3.h>

namespace
{

QString columnName(sqlite3_stmt *statement, int index)
{
    return QString::fromUtf8(sqlite3_column_name(statement, index));
}

} // namespace

Sqlite3Cursor::Sqlite3Cursor(std::shared_ptr<Sqlite3Stmt> statement) : statement(std::move(statement))
{
}

bool Sqlite3Cursor::moveNext()
{
    return statement->step();
}

bool Sqlite3Cursor::moveNextThrow()
{
    const bool onRow = statement->step();
    if (!onRow)
        statement->checkThrow();
    return onRow;
}

int Sqlite3Cursor::count() const
{
    return sqlite3_column_count(statement->get());
}

int Sqlite3Cursor::columnIndex(const QString &column) const
{
    if (!columns) {
        QHash<QString, int> names;
        // From the last: where two columns share a name, the first one answers to it.
        for (int i = count() - 1; i >= 0; --i)
            names.insert(columnName(statement->get(), i).toLower(), i);
        columns = std::make_shared<const QHash<QString, int>>(std::move(names));
    }
    return columns->value(column.toLower(), -1);
}

QByteArrayView Sqlite3Cursor::getUtf8(int index) const
{
    if (index < 0)
        return {};
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement->get(), index));
    return text ? QByteArrayView(text, sqlite3_column_bytes(statement->get(), index)) : QByteArrayView();
}

QString Sqlite3Cursor::getText(int index) const
{
    return QString::fromUtf8(getUtf8(index));
}

int Sqlite3Cursor::getInt(int index) const
{
    return index < 0 ? 0 : sqlite3_column_int(statement->get(), index);
}

qint64 Sqlite3Cursor::getInt64(int index) const
{
    return index < 0 ? 0 : sqlite3_column_int64(statement->get(), index);
}

QByteArrayView Sqlite3Cursor::getBytes(int index) const
{
    if (index < 0)
        return {};
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(statement->get(), index));
    return bytes ? QByteArrayView(bytes, sqlite3_column_bytes(statement->get(), index)) : QByteArrayView();
}

QByteArray Sqlite3Cursor::getBlob(int index) const
{
    return getBytes(index).toByteArray();
}

bool Sqlite3Cursor::isNull(int index) const
{
    return index < 0 || sqlite3_column_type(statement->get(), index) == SQLITE_NULL;
}

QVariant Sqlite3Cursor::getValue(int index) const
{
    if (index < 0)
        return {};
    switch (sqlite3_column_type(statement->get(), index)) {
    case SQLITE_INTEGER: return getInt64(index);
    case SQLITE_FLOAT: return sqlite3_column_double(statement->get(), index);
    case SQLITE_TEXT: return getText(index);
    case SQLITE_BLOB: {
        const QByteArrayView bytes = getBytes(index);
        return bytes.isEmpty() ? QByteArray("") : bytes.toByteArray();
    }
    default: return {};
    }
}

Sqlite3Row Sqlite3Cursor::getRow() const
{
    Sqlite3Row row;
    for (int i = 0; i < count(); ++i)
        row[columnName(statement->get(), i)] = getValue(i);
    return row;
}
