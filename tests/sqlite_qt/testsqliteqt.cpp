#include "absdb.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

class SampleDb final : public AbsDb
{
public:
    explicit SampleDb(const QString &file) : path(file) {}
    void openDb() override
    {
        if (!isOpen())
            openThrow(path, sqliteReadWriteCreate);
    }
    void run(const char *sql)
    {
        openDb();
        executeThrow(Sqlite3Sql(sql));
    }
    void addFunction(const char *name, int (*function)(int)) { createFunctionThrow(name, 1, function); }

private:
    QString path;
};

int notZero(int value)
{
    return value != 0;
}

} // namespace

class TestSqliteQt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void mainRefusesAnyOtherVersion() { QCOMPARE(sqlite_qt_version(), 6); }
    void unknownColumnsReadAsNothing();
    void columnNamesIgnoreCase();
    void copiedCursorsShareTheirRow();
    void cursorsOutliveTheConnection();
    void openingFlags();
    void aDamagedFileIsNoShortFile();
    void rowsKeepEveryStorageClass();
    void excludedColumnsTakeTheirDefault();
    void emptyParametersAreNotNull();
    void endingWithoutATransactionDoesNotOpen();
    void aFailedStatementCanStillBeRolledBack();
    void sqlFunctionsAnswer();
    void affinities_data();
    void affinities();

private:
    std::unique_ptr<QTemporaryDir> dir;
    QString path;
};

void TestSqliteQt::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"größe.db"_s);
}

void TestSqliteQt::unknownColumnsReadAsNothing()
{
    SampleDb db(path);
    db.run("create table t(a)");
    db.run("insert into t values(7)");
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select * from t"));
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getInt(u"no_such_column"_s), 0);
    QCOMPARE(cursor.getText(u"no_such_column"_s), QString());
    QVERIFY(cursor.getBlob(u"no_such_column"_s).isEmpty());
    QVERIFY(cursor.isNull(u"no_such_column"_s));
    QCOMPARE(cursor.getInt64(0), 7);
    QVERIFY(!cursor.moveNext());
    QVERIFY(!cursor.moveNext()); // and does not begin anew
}

void TestSqliteQt::columnNamesIgnoreCase()
{
    SampleDb db(path);
    db.run("create table t(ROWID integer primary key, Text text)");
    db.run("insert into t values(5, 'x')");
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select 1 as ROWID, t.* from t"));
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getInt(u"rowid"_s), 1); // the first of two columns of one name
    QCOMPARE(cursor.getText(u"TEXT"_s), u"x"_s);
}

void TestSqliteQt::copiedCursorsShareTheirRow()
{
    SampleDb db(path);
    db.run("create table t(a)");
    db.run("insert into t values(1),(2)");
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select a from t order by a"));
    {
        Sqlite3Cursor copy = cursor;
        QVERIFY(copy.moveNext());
    }
    QCOMPARE(cursor.getInt(0), 1);
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getInt(0), 2);
}

void TestSqliteQt::cursorsOutliveTheConnection()
{
    SampleDb db(path);
    db.run("create table t(a)");
    db.run("insert into t values(1)");
    Sqlite3Sql sql("select a from t where a > ?");
    sql.addIntParam(0);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    QVERIFY(cursor.moveNext());
    db.close();
    QCOMPARE(cursor.getInt(0), 1);
}

void TestSqliteQt::openingFlags()
{
    Sqlite3DB db;
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, db.openThrow(path, sqliteReadWrite));
    QVERIFY(!db.isOpen());
    db.openThrow(path, sqliteReadWriteCreate);
    db.executeThrow(Sqlite3Sql("create table t(a)"));
    QVERIFY(QFile::exists(path));
    db.openThrow(path, sqliteReadOnly);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, db.executeThrow(Sqlite3Sql("insert into t values(1)")));
}

void TestSqliteQt::aDamagedFileIsNoShortFile()
{
    SampleDb db(path);
    db.run("create table t(a)");
    db.run("with recursive n(i) as (select 1 union all select i+1 from n where i < 5000) "
           "insert into t select 'row ' || i from n");
    db.close();
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek(5 * 4096));
    file.write(QByteArray(8 * 4096, '\xA5'));
    file.close();
    try {
        db.selectAll(u"t"_s);
        QFAIL("a damaged page passed for the end of the table");
    } catch (const std::runtime_error &error) {
        const QString text = QString::fromUtf8(error.what());
        QVERIFY2(text.contains(path) && text.contains(u"malformed"_s), qPrintable(text));
    }
}

void TestSqliteQt::rowsKeepEveryStorageClass()
{
    SampleDb db(path);
    db.run("create table a(i, r, t, b, n)");
    db.run("create table b(i, r, t, b, n)");
    db.run("insert into a values(9007199254740993, 1.5, 'é' || char(0) || 'x', x'00ff00', null)");
    db.insertRow(db.selectAll(u"a"_s).first(), u"b"_s, {});
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select count(*) from a, b where a.i is b.i and a.r is "
                                                    "b.r and a.t is b.t and a.b is b.b and b.n is null"));
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getInt64(0), 1);
}

void TestSqliteQt::excludedColumnsTakeTheirDefault()
{
    SampleDb db(path);
    db.run("create table t(id integer primary key, \"replace\" integer default 8, \"odd \"\"name\" text)");
    Sqlite3Row row;
    row[u"replace"_s] = 1;
    row[u"odd \"name"_s] = u"x"_s;
    QCOMPARE(db.insertRow(row, u"t"_s, {u"replace"_s}), 1);
    QCOMPARE(db.selectAll(u"t"_s).first().value(u"replace"_s).toInt(), 8);
}

void TestSqliteQt::emptyParametersAreNotNull()
{
    SampleDb db(path);
    db.openDb();
    Sqlite3Sql sql("select typeof(?), typeof(?)");
    sql.addTextParam(QString());
    sql.addBlobParam(QByteArray());
    Sqlite3Cursor cursor = db.queryThrow(sql);
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getText(0), u"text"_s);
    QCOMPARE(cursor.getText(1), u"blob"_s);
}

void TestSqliteQt::endingWithoutATransactionDoesNotOpen()
{
    SampleDb db(path);
    db.endTransaction(true);
    QVERIFY(!db.isOpen() && !QFile::exists(path));
}

void TestSqliteQt::aFailedStatementCanStillBeRolledBack()
{
    SampleDb db(path);
    db.run("create table t(a unique)");
    db.beginTransaction();
    db.run("insert into t values(1)");
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, db.run("insert into t values(1)"));
    db.endTransaction(false);
    QVERIFY(db.selectAll(u"t"_s).isEmpty());
}

void TestSqliteQt::sqlFunctionsAnswer()
{
    SampleDb db(path);
    db.openDb();
    db.addFunction("read", notZero);
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select read(0) + 10 * read(-3)"));
    QVERIFY(cursor.moveNext());
    QCOMPARE(cursor.getInt(0), 10);
}

void TestSqliteQt::affinities_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("affinity");
    QTest::newRow("integer wins over char") << u"CHARINT"_s << u"integer"_s;
    QTest::newRow("varchar") << u"varchar(20)"_s << u"text"_s;
    QTest::newRow("no type") << QString() << u"blob"_s;
    QTest::newRow("double") << u"DOUBLE PRECISION"_s << u"real"_s;
    QTest::newRow("date") << u"DATE"_s << u"numeric"_s;
}

void TestSqliteQt::affinities()
{
    QFETCH(QString, type);
    const _SqliteCol column(u"c"_s, type, false, false, false);
    QStringList affinities;
    if (column.isInteger())
        affinities << u"integer"_s;
    if (column.isText())
        affinities << u"text"_s;
    if (column.isBlob())
        affinities << u"blob"_s;
    if (column.isReal())
        affinities << u"real"_s;
    if (column.isNumeric())
        affinities << u"numeric"_s;
    QTEST(affinities.join(u','), "affinity");
}

QTEST_GUILESS_MAIN(TestSqliteQt)
#include "testsqliteqt.moc"
