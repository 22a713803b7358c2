#include "store/readers/localschema.h"
#include "store/readers/messageinsertion.h"
#include "store/readers/recordreader.h"
#include "store/records/columntables.h"
#include "testing/helpers/testdatabase.h"

#include "sqlite_qt/untoucheddb.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// A record of a table to which a column comes.
struct Note {
    qint64 rowid = 0;
    QString text;
    int added = 0;
};

constexpr std::array noteTable = {
    RecordColumn<Note>{"rowid"_L1, &Note::rowid, {}, {.inserted = Inserted::Not}},
    RecordColumn<Note>{"text"_L1, &Note::text, {}},
    RecordColumn<Note>{"added"_L1, &Note::added, {}, {.since = Release::Ios18, .local = LocalColumn::Aside}},
};

/// Values that are unlike all others of their table.
void fill(int &value, int place)
{
    value = 100 + place;
}
void fill(qint64 &value, int place)
{
    value = 100 + place;
}
void fill(bool &value, int)
{
    value = true;
}
void fill(QString &value, int place)
{
    value = u"text %1"_s.arg(place);
}
void fill(QByteArray &value, int place)
{
    value = "blob " + QByteArray::number(place);
}

template <typename Record>
Record filled(RecordColumns<Record> table)
{
    Record record;
    int place = 0;
    for (const RecordColumn<Record> &column : table)
        visitMember(column, [&](auto member) { fill(record.*member, ++place); });
    return record;
}

/// Name and value of each column that is inserted.
template <typename Record>
QStringList valuesOf(RecordColumns<Record> table, const Record &record)
{
    QStringList values;
    for (const RecordColumn<Record> &column : table) {
        if (column.traits.inserted != Inserted::Not)
            visitMember(column, [&](auto member) {
                values.append(column.name + u'=' + QVariant::fromValue(record.*member).toString());
            });
    }
    return values;
}

template <typename Record>
Record readRow(Sqlite3DB &db, const QString &name, RecordColumns<Record> table)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(u"select * from "_s + name));
    RecordReader<Record> reader(cursor, table);
    return cursor.moveNextThrow() ? *reader.read(cursor) : Record();
}

/// How a new file declares the table, as far as the columns go.
template <typename Record>
QString declarationOf(const QString &name, RecordColumns<Record> table)
{
    QStringList columns;
    for (const RecordColumn<Record> &column : table) {
        if (column.traits.local == LocalColumn::Given || column.traits.local == LocalColumn::Added)
            columns.append(u"    "_s + column.name + u' ' + column.declaration);
    }
    return u"CREATE TABLE %1 (\n%2"_s.arg(name, columns.join(u",\n"_s));
}

} // namespace

class TestColumnTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        openLocalDatabaseThrow(db, dir->filePath(u"sms.db"_s));
    }
    void cleanup() { db.close(); }
    void aNewFileHasTheTables();
    void whatIsReadIsWritten();
    void aColumnThatComesIsReadAndWritten();

private:
    template <typename Record>
    void comesBack(const QString &name, RecordColumns<Record> table, std::initializer_list<ToldValue> told);

    std::unique_ptr<QTemporaryDir> dir;
    Sqlite3DB db;
};

void TestColumnTables::aNewFileHasTheTables()
{
    const QByteArray script = bytesOf(u":/res/localmsgdb_ddl.sql"_s) + bytesOf(u":/res/localmsgdb_own.sql"_s);
    const QStringList declarations = {
        declarationOf(u"message"_s, messageTable()) + u"\n);"_s,
        declarationOf(u"chat"_s, chatTable()) + u"\n);"_s,
        declarationOf(u"handle"_s, handleTable()) + u",\n    UNIQUE (id, service)\n);"_s,
        declarationOf(u"attachment"_s, attachmentTable()) + u"\n);"_s,
        declarationOf(u"IF NOT EXISTS _reaction"_s, reactionTable()) +
            u",\n    UNIQUE (message_id, guid)\n);"_s,
    };
    for (const QString &declaration : declarations)
        QVERIFY2(script.contains(declaration.toUtf8()), qPrintable(declaration));
}

template <typename Record>
void TestColumnTables::comesBack(const QString &name, RecordColumns<Record> table,
                                 std::initializer_list<ToldValue> told)
{
    const Record record = filled(table);
    db.executeThrow(RecordInsertion<Record>(table, tableTexts(db).value(name)).sql(name, record, told));
    QCOMPARE(valuesOf(table, readRow(db, name, table)), valuesOf(table, record));
}

void TestColumnTables::whatIsReadIsWritten()
{
    comesBack(u"chat"_s, chatTable(), {{"group_id"_L1, filled(chatTable()).group_id}});
    comesBack(u"handle"_s, handleTable(), {});
    comesBack(u"attachment"_s, attachmentTable(), {});
    _MsgMessage message = filled(messageTable());
    message.extras = new MessageExtras(filled(extrasTable()));
    _MsgAttachment attachment;
    message.attachments.insert(u"a"_s, &attachment);
    db.executeThrow(MessageInsertion(tableTexts(db).value(u"message"_s))
                        .sql(message, message.handle_id, message.other_handle, u"hash"_s));
    message.cache_has_attachments = 1;
    QCOMPARE(valuesOf(messageTable(), readRow(db, u"message"_s, messageTable())),
             valuesOf(messageTable(), message));
    QCOMPARE(valuesOf(extrasTable(), readRow(db, u"message"_s, extrasTable())),
             valuesOf(extrasTable(), *message.extras));
}

// Of a file that lacks it the rest is written; a phone has it under its own name.
void TestColumnTables::aColumnThatComesIsReadAndWritten()
{
    const RecordColumns<Note> table = noteTable;
    const QString old = u"create table notes(text)"_s;
    const QString grown = u"create table notes(text, _added)"_s;
    const Note note{1, u"words"_s, 7};
    for (const auto &[create, added] : {std::pair(old, 0), std::pair(grown, 7)}) {
        db.executeThrow(Sqlite3Sql(create));
        db.executeThrow(RecordInsertion<Note>(table, create).sql(u"notes"_s, note));
        const Note read = readRow(db, u"notes"_s, table);
        QCOMPARE(read.text, note.text);
        QCOMPARE(read.added, added);
        db.executeThrow(Sqlite3Sql("drop table notes"));
    }
    db.executeThrow(Sqlite3Sql("create table notes as select 'phone' as text, 9 as added"));
    QCOMPARE(readRow(db, u"notes"_s, table).added, 9);
}

QTEST_GUILESS_MAIN(TestColumnTables)
#include "testcolumntables.moc"
