#include "rawreads.h"
#include "smsdbbuilder.h"
#include "sqlite3file.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

constexpr int pageSize = 1024;

QByteArray big16(int value)
{
    QByteArray bytes(2, '\0');
    qToBigEndian(quint16(value), bytes.data());
    return bytes;
}

QByteArray big32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

void put(QByteArray &bytes, qsizetype at, const QByteArray &what)
{
    bytes.replace(at, what.size(), what);
}

/// Four pages of nothing but the size of a page.
QByteArray emptyFile(int size = pageSize)
{
    return QByteArray(pageSize * 4, '\0').replace(16, 2, big16(size));
}

QList<_SqliteCol> twoColumns(bool notNull)
{
    return {{u"ROWID"_s, u"INTEGER"_s, false, false, true}, {u"name"_s, u"TEXT"_s, notNull, false, false}};
}

/// Goes through everything that is in a file, by every road. Returns what was looked at.
qsizetype walkAll(const Sqlite3File &file)
{
    qsizetype seen = 0;
    QSet<quint32> trunks;
    for (quint32 trunk = file.firstFreelistTrunk(); trunk > 0 && !trunks.contains(trunk);) {
        trunks.insert(trunk);
        const Sqlite3FreelistTrunk read = file.readFreelistTrunk(trunk);
        seen += read.leaves.size();
        trunk = read.nextTrunk;
    }
    const CarveColumns columns(twoColumns(true));
    for (quint32 pageNo = 0; pageNo < 12; ++pageNo) {
        const Sqlite3Page page = file.readPage(pageNo);
        for (const qint64 cell : page.cells)
            seen += file.rowData(file.readCell(page, cell)).values.size();
        seen += file.collectLeafPages(page).size();
        seen += file.carveFreeSpace(columns, 0, page, {}).size();
        seen += file.carvePage(columns, 3, pageNo, 0, {}).size();
    }
    return seen;
}

} // namespace

class TestSqlite3File : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsNumbersOfVariableLength_data();
    void readsNumbersOfVariableLength();
    void decodesValues_data();
    void decodesValues();
    void refusesFiles_data();
    void refusesFiles();
    void walksEndInACircle();
    void scansWhatColumnsAllow();
    void hostileFilesDoNoHarm();

private:
    std::unique_ptr<Sqlite3File> openBytes(const QByteArray &bytes);

    QTemporaryDir dir;
};

std::unique_ptr<Sqlite3File> TestSqlite3File::openBytes(const QByteArray &bytes)
{
    const QString path = dir.filePath(u"bytes"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("no room for a file");
    file.close();
    auto raw = std::make_unique<Sqlite3File>(path);
    raw->open();
    return raw;
}

void TestSqlite3File::readsNumbersOfVariableLength_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("length");
    QTest::addColumn<qint64>("value");
    QTest::newRow("one byte") << QByteArray("\x7F") << 1 << qint64(127);
    QTest::newRow("two bytes") << QByteArray("\x81\x02") << 2 << qint64(130);
    QTest::newRow("the shift grows") << QByteArray("\x81\x82\x03") << 3 << (qint64(130) << 14 | 3);
    QTest::newRow("nine bytes") << QByteArray("\x80\x80\x80\x80\x80\x80\x80\x81\xFF") << 9
                                << (qint64(1) << 57 | 0x8F);
    QTest::newRow("cut") << QByteArray("\x81\x82") << 0 << qint64(0);
    QTest::newRow("nothing") << QByteArray() << 0 << qint64(0);
}

void TestSqlite3File::readsNumbersOfVariableLength()
{
    QFETCH(QByteArray, bytes);
    const RawVarint number = readVarint(bytes, 0);
    QTEST(number.length, "length");
    QTEST(number.value, "value");
}

void TestSqlite3File::decodesValues_data()
{
    QTest::addColumn<qint64>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *name, qint64 type, const QByteArray &bytes, const QVariant &value) {
        QTest::newRow(name) << type << bytes << value;
    };
    row("null", 0, "x", QVariant());
    row("a byte may be the last", 1, "\xFF", -1);
    row("two bytes", 2, "\xFF\xFE.", -2);
    row("two bytes at the end are not read", 2, "\xFF\xFE", 0);
    row("three bytes stand at the top", 3, QByteArray("\0\0\x05.", 4), 1280);
    row("four bytes", 4, QByteArray("\0\0\x01\x02.", 5), 258);
    row("of six bytes one is lost", 5, QByteArray("\1\2\3\4\5\6.", 7), qlonglong(0x010200040706));
    row("eight bytes", 6, QByteArray("\0\0\0\1\0\0\0\2.", 9), (qlonglong(1) << 32) | 2);
    row("zero", 8, "x", 0);
    row("one", 9, "x", 1);
    row("a type that SQLite never writes", 11, "x", QVariant());
    row("a negative type", -4, "x", QVariant());
    row("bytes", 16, QByteArray("ab\0cd", 5), QByteArray("ab\0c", 4).first(2));
    row("text up to a NUL", 23, QByteArray("ab\0cd.", 6), u"ab"_s);
    row("text loses what is the last byte", 19, "abc", u"ab"_s);
    row("text longer than the file", 1001, "abc", u"ab"_s);
}

void TestSqlite3File::decodesValues()
{
    QFETCH(qint64, type);
    QFETCH(QByteArray, bytes);
    QTEST(RawValues(bytes, 0).next(type), "value");
}

void TestSqlite3File::refusesFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("pages"); // -1: refused
    QTest::newRow("empty") << QByteArray() << -1;
    QTest::newRow("cut before the size of a page") << emptyFile().first(18) << -1;
    QTest::newRow("cut behind it") << emptyFile().first(19) << 0;
    QTest::newRow("two and a half pages") << emptyFile().first(pageSize * 5 / 2) << 2;
    QTest::newRow("pages of nothing") << emptyFile(0) << -1;
    QTest::newRow("pages of 32768") << emptyFile(0x8000) << -1;
    QTest::newRow("pages of 65536 pass for pages of 1") << emptyFile(1) << pageSize * 4;
}

void TestSqlite3File::refusesFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, pages);
    if (pages < 0)
        QVERIFY_EXCEPTION_THROWN(openBytes(bytes), std::runtime_error);
    else
        QCOMPARE(openBytes(bytes)->pageCount(), pages);
}

void TestSqlite3File::walksEndInACircle()
{
    QByteArray bytes = emptyFile();
    put(bytes, 32, big32(2));
    put(bytes, pageSize, big32(2) + big32(0x7FFFFFFF)); // a trunk that names itself and endless leaves
    // An interior page whose children are itself and a leaf; what stands at the right isn't visited.
    put(bytes, pageSize * 2,
        QByteArray("\5") + big16(0) + big16(2) + big16(0) + '\0' + big32(2) + big16(100) + big16(200));
    put(bytes, pageSize * 2 + 100, big32(3) + '\1');
    put(bytes, pageSize * 2 + 200, big32(4) + '\1');
    // The leaf's freeblocks run in a circle.
    put(bytes, pageSize * 3, QByteArray("\15") + big16(20));
    put(bytes, pageSize * 3 + 20, big16(40) + big16(8));
    put(bytes, pageSize * 3 + 40, big16(20) + big16(8));
    const std::unique_ptr<Sqlite3File> file = openBytes(bytes);
    QCOMPARE(file->readFreelistTrunk(2).leaves.size(), bytes.size() / 512);
    const QList<Sqlite3Page> leaves = file->collectLeafPages(file->readPage(3));
    QCOMPARE(leaves.size(), 1);
    QCOMPARE(leaves.first().pageNo, 4U);
    QCOMPARE(leaves.first().freeblocks.size(), 2);
}

void TestSqlite3File::scansWhatColumnsAllow()
{
    QByteArray bytes = emptyFile();
    put(bytes, pageSize + 100,
        "\x13"
        "abc"); // a text of three bytes
    const std::unique_ptr<Sqlite3File> file = openBytes(bytes);
    const auto carve = [&](const QList<_SqliteCol> &columns) {
        return file->carveRange(columns, 0, pageSize, pageSize + 100, pageSize + 106, {});
    };
    QCOMPARE(carve(twoColumns(true)).value(0).values,
             QList<QVariant>({QVariant(), u"ab"_s})); // the last byte is lost
    QCOMPARE(carve({twoColumns(true).first(), {u"n"_s, u"BLOB"_s, true, false, false}}).size(), 1); // 'b'
    bytes[pageSize + 100] = '\0';
    QCOMPARE(openBytes(bytes)->carvePage(twoColumns(false), 0, 4, 0, {}).size(), pageSize / 5 + 1);
    QTest::ignoreMessage(QtWarningMsg, "tbCols size < 2.");
    QVERIFY(file->carveRange(twoColumns(true).first(1), 0, pageSize, 0, 1, {}).isEmpty());
}

void TestSqlite3File::hostileFilesDoNoHarm()
{
    QLoggingCategory::setFilterRules(u"default.warning=false"_s);
    SmsDbBuilder phone{QDir(dir.path())};
    phone.chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Si"_s);
    QFile real(phone.write());
    QVERIFY(real.open(QIODevice::ReadOnly));
    const QByteArray whole = real.readAll().first(32768);
    QVERIFY(walkAll(*openBytes(whole)) > 10);

    QRandomGenerator random(7);
    for (int size = 19; size <= 200; ++size)
        walkAll(*openBytes(whole.first(size)));
    for (const int size : {1, 2, 3, 4, 11, 36, 512, 4096, 32767})
        walkAll(*openBytes(QByteArray(whole).replace(16, 2, big16(size))));
    for (int round = 0; round < 150; ++round) {
        QByteArray flipped = whole;
        for (int i = 0; i < 200; ++i)
            flipped[random.bounded(100, int(flipped.size()))] ^= char(1 << random.bounded(8));
        QByteArray noise = flipped.first(100);
        while (noise.size() < 12 * 4096)
            noise += char(random.bounded(256));
        walkAll(*openBytes(flipped));
        walkAll(*openBytes(noise));
    }
    QLoggingCategory::setFilterRules(QString());
}

QTEST_GUILESS_MAIN(TestSqlite3File)
#include "testsqlite3file.moc"
