#include "sqlite_qt/absdb.h"
#include "testing/helpers/testdatabase.h"

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

private:
    QString path;
};

} // namespace

class TestSqliteQt : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cursorsOutliveTheConnection();
    void onlyCreatingOpensMakeFilesAndReadersWriteNothing();
    void aDamagedFileIsNoShortFile();
    void rowsKeepEveryStorageClass();
    void emptyParametersAreNotNull();
    void aFailedStatementCanStillBeRolledBack();

private:
    std::unique_ptr<QTemporaryDir> dir;
    QString path;
};

void TestSqliteQt::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"größe.db"_s);
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

void TestSqliteQt::onlyCreatingOpensMakeFilesAndReadersWriteNothing()
{
    Sqlite3DB db;
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, db.openThrow(path, sqliteReadWrite));
    runOn(path, u"create table t(a)"_s);
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
    const QByteArray noise(8 * 4096, '\xA5');
    QVERIFY(writeFile(path, bytesOf(path).replace(5 * 4096, noise.size(), noise)));
    const QString text = failureOf([&] { db.selectAll(u"t"_s); });
    QVERIFY2(text.contains(path) && text.contains(u"malformed"_s), qPrintable(text));
}

void TestSqliteQt::rowsKeepEveryStorageClass()
{
    SampleDb db(path);
    db.run("create table a(i, r, t, b, n)");
    db.run("create table b(i, r, t, b, n)");
    db.run("insert into a values(9007199254740993, 1.5, 'é' || char(0) || 'x', x'00ff00', null)");
    db.insertRow(db.selectAll(u"a"_s).first(), u"b"_s, {});
    QCOMPARE(rowsOf(path, u"select count(*) from a, b where a.i is b.i and a.r is b.r and a.t is b.t and "
                          "a.b is b.b and b.n is null"_s),
             QStringList(u"1"_s));
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

QTEST_GUILESS_MAIN(TestSqliteQt)
#include "testsqliteqt.moc"
