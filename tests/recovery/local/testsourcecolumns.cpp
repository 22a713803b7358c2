// Every column of a phone's rows, in a Local Database.

#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/localdbtools.h"
#include "tools/samplephone/samplephone.h"

#include <QCborMap>
#include <QCborValue>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

using Row = QMap<QString, QVariant>; // by lower-case name

bool isFilled(const QVariant &value)
{
    return value.toByteArray() != "0" && !value.toByteArray().isEmpty();
}

/// The rows of a query that has all columns of `table`.
QList<Row> rows(Sqlite3DB &db, const QString &table, const QString &sql)
{
    const QStringList names = db.tbInfo(table).keys();
    QList<Row> rows;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    while (cursor.moveNextThrow()) {
        Row row;
        for (const QString &name : names) {
            const int position = cursor.columnIndex(name);
            QVariant value = cursor.getValue(position);
            if (value.typeId() == QMetaType::QString)
                value = cursor.getUtf8(position).toByteArray(); // it may be no UTF-8
            if (isFilled(value))
                row.insert(name.toLower(), value);
        }
        row.insert(u" kept"_s, cursor.getBlob(u"kept_columns"_s));
        rows.append(row);
    }
    return rows;
}

bool has(Sqlite3DB &db, const QString &table, const QString &column)
{
    return db.tbInfo(table).contains(column);
}

/// Rows of a Local Database with all that it keeps of them under the phone's names.
QList<Row> keptRows(const QString &path, const QString &table, const QString &source, const QString &aside)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QMap<qint64, QString> names;
    Sqlite3Sql known("select rowid, name from _source_column where source_table=?");
    known.addTextParam(source);
    Sqlite3Cursor cursor = db.queryThrow(known);
    while (cursor.moveNextThrow())
        names.insert(cursor.getInt64(0), cursor.getText(1).toLower());
    QList<Row> kept = rows(
        db, table,
        u"select t.*, s.columns as kept_columns from %1 as t left join %2 as s on s.rowid = t.rowid"_s.arg(
            table, aside));
    for (Row &row : kept) {
        for (const QString &name : row.keys())
            row.insert(name.startsWith(u'_') ? name.sliced(1) : u"madrid_"_s + name, row.value(name));
        row.insert(u"svc_center"_s, row.value(u"service_center"_s));
        const QCborMap map = QCborValue::fromCbor(row.take(u" kept"_s).toByteArray()).toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            row.insert(names.value(it.key().toInteger()), it.value().toVariant());
    }
    return kept;
}

/// What of the phone's rows no kept row says. Numbers of rows are others there.
QStringList missing(const QList<Row> &wanted, const QList<Row> &kept, const QString &key)
{
    QMultiHash<QString, Row> byKey;
    for (const Row &row : kept)
        byKey.insert(row.value(key).toString(), row);
    QStringList missing;
    for (Row row : wanted) {
        row.removeIf([](const auto &at) {
            return at.key() == "rowid"_L1 || at.key() == "handle_id"_L1 || at.key() == "other_handle"_L1 ||
                   at.key() == " kept"_L1;
        });
        QString best = u"no row"_s;
        for (const Row &one : byKey.values(row.value(key).toString())) {
            QStringList differences;
            for (auto it = row.cbegin(); it != row.cend(); ++it)
                if (one.value(it.key()).toByteArray() != it.value().toByteArray())
                    differences.append(it.key());
            best = best == "no row"_L1 || differences.isEmpty() ? differences.join(u' ') : best;
        }
        if (!best.isEmpty())
            missing.append(row.value(key).toString() + u": "_s + best);
    }
    return missing;
}

QString listOf(const QList<Row> &rows, const QString &column, const QString &second = {})
{
    QStringList values;
    for (const Row &row : rows)
        values.append(u'\'' + row.value(column).toString() + row.value(second).toString() + u'\'');
    return values.join(u',');
}

QStringList missingOf(const QString &phone, const QString &kept, const QString &table, const QString &key)
{
    Sqlite3DB db;
    db.openThrow(phone, sqliteReadWrite);
    const bool isIos5 = !has(db, u"chat"_s, u"guid"_s);
    const QString source = isIos5 ? u"ios5."_s + table : table;
    QList<Row> known = keptRows(kept, table, source, u'_' + table + u"_source"_s);
    QString sql = u"select * from "_s + table;
    if (table == "message"_L1 && !isIos5) {
        known += keptRows(kept, u"_reaction"_s, source, u"_reaction_source"_s);
        if (has(db, table, u"associated_message_type"_s)) // reactions that another one replaced aren't read
            sql += u" where coalesce(associated_message_type, 0) < 1000 or guid in (%1)"_s.arg(
                listOf(known, u"guid"_s));
        else if (has(db, table, u"item_type"_s))
            sql += u" where item_type <> 4"_s;
    } else if (table != "message"_L1) { // what no message leads to isn't read either
        sql += u" where %1 in (%2)"_s.arg(key, listOf(known, key));
        if (table == "handle"_L1)
            sql += u" and id || service in (%1)"_s.arg(listOf(known, u"id"_s, u"service"_s));
    }
    return missing(rows(db, table, sql), known, key);
}

constexpr auto newColumns = "alter table %1 add column of_next_year; update %1 set of_next_year = case "
                            "abs(random()) % 5 when 0 then randomblob(9) when 1 then random() when 2 then "
                            "'Ñandú' when 3 then 2.5 else cast(x'ff41' as text) end;"_L1;

} // namespace

class TestSourceColumns : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noColumnIsLost_data();
    void noColumnIsLost();
    void aLaterStateReplacesWhatWasKept();
    void rowsTakeTheirColumnsAlong();

private:
    _MsgStorePtr import(const std::unique_ptr<AbsIOSMessageDb> &source, const QString &target)
    {
        _MsgStorePtr store(new _MsgStore);
        source->messages(store, 0);
        source->attachments(store);
        RecordingProgress progress;
        importMessages(allMessages(store), QDir(dir.path()), target, progress);
        return store;
    }

    QTemporaryDir dir;
};

void TestSourceColumns::noColumnIsLost_data()
{
    QTest::addColumn<IosVersion>("version");
    for (const IosVersion version : sampleGenerations)
        QTest::addRow("iOS %d", int(version)) << version;
}

void TestSourceColumns::noColumnIsLost()
{
    QFETCH(IosVersion, version);
    const quint64 seed = QRandomGenerator::global()->generate();
    const QDir root(dir.filePath(QString::number(seed)));
    SamplePhone({.ios = version, .messages = 300, .seed = seed}).writeRelay(root);
    const QString phone = messageDbPath(root);
    QStringList tables = {u"message"_s, u"chat"_s, u"handle"_s, u"attachment"_s};
    if (version == IosVersion::Ios5)
        tables = {u"message"_s};
    for (const QString &name : rowsOf(phone, u"select name from sqlite_master where type='trigger'"_s))
        runOn(phone, u"drop trigger "_s + name); // they call functions of the phone
    for (const QString &table : tables)
        runOn(phone, newColumns.arg(table));
    const QString kept = root.filePath(u"kept.db"_s);
    import(openMessageDb(root, u"214"_s), kept);
    const QString again = root.filePath(u"again.db"_s);
    import(std::make_unique<IOS6MessageDb>(root, kept, QString(), true), again);
    import(openMessageDb(root, u"214"_s), again);
    for (const QString &file : {kept, again}) {
        for (const QString &table : tables) {
            const bool isIos5 = version == IosVersion::Ios5;
            const QString key = isIos5 ? u"date"_s : table == "handle"_L1 ? u"id"_s : u"guid"_s;
            const QStringList lost = missingOf(phone, file, table, key);
            QVERIFY2(
                lost.isEmpty(),
                qPrintable(u"seed %1, %2 of %3: %4"_s.arg(seed)
                               .arg(lost.size())
                               .arg(table, lost.first(std::min<qsizetype>(lost.size(), 5)).join(u"; "_s))));
        }
    }
}

void TestSourceColumns::aLaterStateReplacesWhatWasKept()
{
    const QString kept = dir.filePath(u"later.db"_s);
    const QByteArray marks = "bplist00 only marks";
    for (const bool isEdited : {false, true}) {
        const QTemporaryDir root;
        SmsDbBuilder phone(root.path(), IosVersion::Ios18);
        phone.chat(u"+34612345678"_s, u"iMessage"_s).received(u"hi"_s).guid(u"G"_s);
        if (isEdited)
            phone.edited(u"ho"_s);
        phone.write();
        runOn(messageDbPath(QDir(root.path())),
              isEdited ? u"alter table message add column second; update message set second='b'"_s
                       : u"alter table message add column first; update message set first='a', "
                         "message_summary_info=cast('%1' as blob)"_s.arg(QString::fromLatin1(marks)));
        import(openMessageDb(QDir(root.path()), u"214"_s), kept);
        const Row row = keptRows(kept, u"message"_s, u"message"_s, u"_message_source"_s).constFirst();
        QCOMPARE(row.value(u"first"_s).toString(), u"a"_s);
        QCOMPARE(row.value(u"second"_s).toString(), isEdited ? u"b"_s : QString());
        QCOMPARE(row.value(u"message_summary_info"_s).toByteArray() == marks, !isEdited);
    }
}

void TestSourceColumns::rowsTakeTheirColumnsAlong()
{
    const QString kept = dir.filePath(u"gone.db"_s);
    SmsDbBuilder phone(dir.path(), IosVersion::Ios26);
    phone.chat(u"+34612345678"_s, u"iMessage"_s).received(u"a\uFFFC"_s).attachment(u"a.jpg"_s);
    phone.reaction(2000).write();
    const _MsgStorePtr store = import(openMessageDb(QDir(dir.path()), u"214"_s), kept);
    const QString counts = u"select (select count(*) from _message_source), (select count(*) from "
                           "_reaction_source), (select count(*) from _chat_source)"_s;
    QCOMPARE(rowsOf(kept, counts), QStringList(u"1|1|1"_s));
    IOS6MessageDb db(QDir(dir.path()), kept, QString(), true);
    const _MsgStorePtr local(new _MsgStore);
    _MsgStorePtr read = local;
    db.messages(read, 0);
    RecordingProgress progress;
    deleteConversations(db, {local->chats.cbegin().value()->chat_identifier}, progress);
    db.close();
    QCOMPARE(rowsOf(kept,
                    u"select columns from _message_source union all select columns from _reaction_source "
                    "union all select columns from _chat_source union all select columns from "
                    "_handle_source union all select columns from _attachment_source"_s),
             QStringList());
}

QTEST_MAIN(TestSourceColumns)
#include "testsourcecolumns.moc"
