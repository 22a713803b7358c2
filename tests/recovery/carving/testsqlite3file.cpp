#include "recovery/carving/rawreads.h"
#include "recovery/carving/sqlite3file.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/testtools.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

constexpr int pageSize = 1024;

void put(QByteArray &bytes, qsizetype at, const char *hex)
{
    const QByteArray what = QByteArray::fromHex(hex);
    bytes.replace(at, what.size(), what);
}

QByteArray withPageSize(QByteArray bytes, int size)
{
    bytes[16] = char(size >> 8);
    bytes[17] = char(size);
    return bytes;
}

/// Four pages of nothing but the size of a page.
QByteArray emptyFile(int size = pageSize)
{
    return withPageSize(QByteArray(pageSize * 4, '\0'), size);
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
    void readsNumbersOfVariableLength();
    void decodesValues();
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
    if (!writeFile(path, bytes))
        qFatal("no room for a file");
    auto raw = std::make_unique<Sqlite3File>(path);
    raw->open();
    return raw;
}

void TestSqlite3File::readsNumbersOfVariableLength()
{
    const std::tuple<QByteArray, int, qint64> cases[] = {
        {"\x7F", 1, 127},
        {"\x81\x02", 2, 130},
        {"\x81\x82\x03", 3, qint64(130) << 14 | 3}, // the shift grows
        {"\x80\x80\x80\x80\x80\x80\x80\x81\xFF", 9, qint64(1) << 57 | 0x8F},
        {"\x81\x82", 0, 0}, // cut
        {"", 0, 0},
    };
    for (const auto &[bytes, length, value] : cases) {
        QCOMPARE(readVarint(bytes, 0).length, length);
        QCOMPARE(readVarint(bytes, 0).value, value);
    }
}

void TestSqlite3File::decodesValues()
{
    const std::tuple<const char *, qint64, QByteArray, QVariant> cases[] = {
        {"null", 0, "x", {}},
        {"a byte may be the last", 1, "\xFF", -1},
        {"two bytes", 2, "\xFF\xFE.", -2},
        {"two bytes at the end are not read", 2, "\xFF\xFE", 0},
        {"three bytes stand at the top", 3, QByteArray("\0\0\x05.", 4), 1280},
        {"four bytes", 4, QByteArray("\0\0\x01\x02.", 5), 258},
        {"of six bytes one is lost", 5, QByteArray("\1\2\3\4\5\6.", 7), qlonglong(0x010200040706)},
        {"eight bytes", 6, QByteArray("\0\0\0\1\0\0\0\2.", 9), (qlonglong(1) << 32) | 2},
        {"zero", 8, "x", 0},
        {"one", 9, "x", 1},
        {"a type that SQLite never writes", 11, "x", {}},
        {"a negative type", -4, "x", {}},
        {"bytes", 16, "abcd", QByteArray("ab")},
        {"text up to a NUL", 23, QByteArray("ab\0cd.", 6), u"ab"_s},
        {"text loses what is the last byte", 19, "abc", u"ab"_s},
        {"text longer than the file", 1001, "abc", u"ab"_s},
    };
    for (const auto &[name, type, bytes, value] : cases)
        QVERIFY2(RawValues(bytes, 0).next(type) == value, name);
}

void TestSqlite3File::refusesFiles()
{
    const std::pair<QByteArray, int> cases[] = {
        {{}, -1}, // refused
        {emptyFile().first(18), -1},
        {emptyFile().first(19), 0},
        {emptyFile().first(pageSize * 5 / 2), 2},
        {emptyFile(0), -1},
        {emptyFile(0x8000), -1},
        {emptyFile(1), pageSize * 4}, // which SQLite writes for 65536
    };
    for (const auto &[bytes, pages] : cases) {
        if (pages < 0)
            QVERIFY_EXCEPTION_THROWN(openBytes(bytes), std::runtime_error);
        else
            QCOMPARE(openBytes(bytes)->pageCount(), pages);
    }
}

void TestSqlite3File::walksEndInACircle()
{
    QByteArray bytes = emptyFile();
    put(bytes, 32, "00000002");
    put(bytes, pageSize, "00000002 7FFFFFFF"); // a trunk that names itself and endless leaves
    // An interior page whose children are itself and a leaf; what stands at the right isn't visited.
    put(bytes, pageSize * 2, "05 0000 0002 0000 00 00000002 0064 00C8");
    put(bytes, pageSize * 2 + 0x64, "00000003 01");
    put(bytes, pageSize * 2 + 0xC8, "00000004 01");
    put(bytes, pageSize * 3, "0D 0014 7FFF"); // the leaf's freeblocks run in a circle
    put(bytes, pageSize * 3 + 0x14, "0028 0008");
    put(bytes, pageSize * 3 + 0x28, "0014 7FFF"); // longer than all that free space can be
    const std::unique_ptr<Sqlite3File> file = openBytes(bytes);
    QCOMPARE(file->readFreelistTrunk(2).leaves.size(), bytes.size() / 512);
    const QList<Sqlite3Page> leaves = file->collectLeafPages(file->readPage(3));
    QCOMPARE(leaves.size(), 1);
    QCOMPARE(leaves.first().pageNo, 4U);
    QCOMPARE(leaves.first().freeblocks.size(), 2);
    QCOMPARE(leaves.first().cells.size(), (pageSize - 8) / 2);
    QCOMPARE(file->carveFreeSpace(twoColumns(false), 0, leaves.first(), {}).size(), 1);
}

void TestSqlite3File::scansWhatColumnsAllow()
{
    QByteArray bytes = emptyFile();
    put(bytes, pageSize + 100, "13 616263"); // a text of three bytes
    const QList<_SqliteCol> number = {twoColumns(true).first(), {u"n"_s, u"INTEGER"_s, true, false, false}};
    const auto carve = [&](const QList<_SqliteCol> &columns) {
        return openBytes(bytes)->carveRange(columns, 0, pageSize, pageSize + 100, pageSize + 106, {});
    };
    QCOMPARE(carve(twoColumns(true)).value(0).values,
             QList<QVariant>({QVariant(), u"ab"_s})); // the last byte is lost
    QCOMPARE(carve({twoColumns(true).first(), {u"n"_s, u"BLOB"_s, true, false, false}}).size(), 1); // 'b'
    put(bytes, pageSize + 100, "02 0102 FFFFFF");
    const Sqlite3RawRow row = carve(number).value(0);
    QVERIFY(row.values.value(1) == 0 && row.lastColumn == 1 && row.lastNumber == 258);
    bytes[pageSize + 100] = '\0';
    QCOMPARE(openBytes(bytes)->carvePage(twoColumns(false), 0, 4, 0, {}).size(), pageSize / 5 + 1);
    QTest::ignoreMessage(QtWarningMsg, "tbCols size < 2.");
    QVERIFY(openBytes(bytes)->carveRange(number.first(1), 0, pageSize, 0, 1, {}).isEmpty());
}

void TestSqlite3File::hostileFilesDoNoHarm()
{
    QLoggingCategory::setFilterRules(u"default.warning=false"_s);
    SmsDbBuilder phone{QDir(dir.path())};
    phone.chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Si"_s);
    const QByteArray whole = bytesOf(phone.write()).first(32768);
    QVERIFY(walkAll(*openBytes(whole)) > 10);

    QRandomGenerator random(7);
    for (int size = 19; size <= 200; ++size)
        walkAll(*openBytes(whole.first(size)));
    for (const int size : {1, 2, 3, 4, 11, 36, 512, 4096, 32767})
        walkAll(*openBytes(withPageSize(whole, size)));
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
}

QTEST_GUILESS_MAIN(TestSqlite3File)
#include "testsqlite3file.moc"
