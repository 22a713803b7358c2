#include "backup/backupmanifest.h"
#include "backup/manifesttree.h"
#include "backup/manifestwriter.h"
#include "backup/mbdbreader.h"
#include "testing/builders/samplembdb.h"
#include "testing/helpers/testtools.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

SampleRecord entry(const QByteArray &domain, const QByteArray &path, quint64 length = 1)
{
    return {.domain = domain, .path = path, .fileLength = length};
}

QByteArray listOf(const QList<SampleRecord> &records)
{
    QByteArray bytes = sampleMbdbHeader();
    for (const SampleRecord &record : records)
        bytes += sampleRecordBytes(record);
    return bytes;
}

/// The names and lengths below `node`, those of a folder in parentheses behind it.
QByteArray outline(const _ManifestNode &node)
{
    QByteArrayList shown;
    for (const _ManifestNode *child : node.children) {
        const QByteArray below = outline(*child);
        shown += child->name.toUtf8() + ':' + QByteArray::number(child->record.fileLength) +
                 (below.isEmpty() ? below : '(' + below + ')');
    }
    return shown.join(' ');
}

} // namespace

class TestManifest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsEveryFieldOfARecord();
    void namesFilesByTheirHash();
    void takesOddHeadersAndCounts();
    void cutManifestsNameFileAndPlace();
    void buildsOneTree_data();
    void buildsOneTree();
    void applicationsApartMakeTheSameTree();
    void findsDatabasesInAnyCase();

private:
    QString write(const QByteArray &bytes)
    {
        const QString path = dir.filePath(u"Manifest.mbdb"_s);
        return writeFile(path, bytes) ? path : QString();
    }
    std::unique_ptr<BackupManifest> index(const QList<SampleRecord> &records)
    {
        write(listOf(records));
        auto manifest = std::make_unique<BackupManifest>(dir.path());
        manifest->loadIndex();
        manifest->loadIndex(); // adds nothing
        return manifest;
    }

    QTemporaryDir dir;
};

void TestManifest::keepsEveryFieldOfARecord()
{
    SampleRecord sample = entry("HomeDomain", "Library/SMS/sms.db", 0x1122334455667788);
    sample.linkTarget = QByteArray();
    sample.dataHash = "";
    sample.encryptionKey = QByteArray(44, 'k');
    sample.mtime = 0xFFFFFFFF;
    sample.atime = 0x01020304;
    sample.inode = 0x0102030405060708;
    sample.protectionClass = 0x84;
    sample.properties = {{"name", "value"}, {"", "x"}};
    const QString path = write(listOf({sample, entry("HomeDomain", QByteArray(0xFFFE, 'x'))}));
    QHash<QString, _MbdbRecord> records = readMbdbFile(path);
    const QString copy = dir.filePath(u"copy"_s);
    writeMbdbFile(records, copy); // sorted by path
    QCOMPARE(bytesOf(copy), bytesOf(path));
    QVERIFY_EXCEPTION_THROWN(writeMbdbFile(records, u"/dev/full"_s), std::runtime_error);
    records.removeIf([](const auto &named) { return named.value().path.length == 0xFFFE; });
    QCOMPARE(records.keys(), QStringList(u"3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s));
    const _MbdbRecord record = records.begin().value();
    QVERIFY(!record.linkTarget.isPresent() && !record.dataHash.isPresent());
    QCOMPARE(record.encryptionKey.bytes, sample.encryptionKey);
    QCOMPARE(record.mtime, 0xFFFFFFFFU);
    QCOMPARE(record.fileLength, sample.fileLength);
    QCOMPARE(int(record.protectionClass), 0x84);
    QCOMPARE(record.properties.value(0).value.bytes, "value"_ba);
}

void TestManifest::namesFilesByTheirHash()
{
    const QList<std::pair<QByteArray, QByteArray>> paths{
        {"ä/😀", "ä/😀"}, {QByteArray("zero\0byte", 9), "zero"}, {"no UTF-8\xFF", "no UTF-8\uFFFD"}};
    for (const auto &[path, text] : paths) {
        const QHash<QString, _MbdbRecord> records = readMbdbFile(write(listOf({entry("HomeDomain", path)})));
        QCOMPARE(records.begin().value().path.text(), QString::fromUtf8(text));
        QCOMPARE(records.begin().key(), sampleHashedName("HomeDomain", text));
    }
}

void TestManifest::takesOddHeadersAndCounts()
{
    QByteArray first = sampleRecordBytes(entry("D", "first"));
    first.back() = '\x80'; // a negative count of properties
    QCOMPARE(readMbdbFile(write("noise!" + first + sampleRecordBytes(entry("D", "second")))).size(), 2);
}

void TestManifest::cutManifestsNameFileAndPlace()
{
    SampleRecord second = entry("HomeDomain", "b");
    second.properties = {{"name", "value"}};
    const QByteArray whole = listOf({entry("HomeDomain", "a"), second});
    const qsizetype firstEnd = listOf({entry("HomeDomain", "a")}).size();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        // Between records, and where only a part of the very last text is gone, nobody can tell.
        if (length == 6 || length == firstEnd || length > whole.size() - 5)
            continue;
        const QString path = write(whole.first(length));
        const QString text = failureOf([this] { BackupManifest(dir.path()).loadIndex(); });
        QVERIFY(text.startsWith(path) && text.contains(QString::number(length)));
    }
}

void TestManifest::buildsOneTree_data()
{
    QTest::addColumn<QList<SampleRecord>>("records");
    QTest::addColumn<QByteArray>("tree");
    const SampleRecord library = entry("MediaDomain", "Library", 0);
    const SampleRecord app = entry("AppDomain-org.a", "", 0);
    QTest::newRow("domains share their folders, the first one names them")
        << QList{entry("MediaDomain", "Library/b"), library, entry("HomeDomain", "Library/a"),
                 entry("HomeDomain", "Library", 5)}
        << "Library:5(a:1 b:1)"_ba;
    QTest::newRow("the later record of a file stays, the entry of a domain itself adds nothing")
        << QList{entry("D", "a", 1), entry("D", "", 0), entry("D", "a", 2)} << "a:2"_ba;
    QTest::newRow("applications have a folder each")
        << QList{entry("AppDomain-org.b", "x"), entry("AppDomain-org.b", "", 0), app,
                 entry("appdomain-c", "y")}
        << "Applications:0(org.a:0 org.b:0(x:1)) y:1"_ba;
    QTest::newRow("files without a folder hang under the root")
        << QList{entry("HomeDomain", "Library/deep/file"), entry("AppDomain-org.a", "Documents/doc")}
        << "Applications:0 doc:1 file:1"_ba;
    QTest::newRow("a folder of a later domain comes too late")
        << QList{entry("ADomain", "Library/x"), library} << "x:1 Library:0"_ba;
    QTest::newRow("beyond U+FFFF comes before U+FFFD")
        << QList{entry("D", "\uFFFD"), entry("D", "😀"), entry("D", "z")} << "z:1 😀:1 \uFFFD:1"_ba;
    QTest::newRow("another domain may name an application's folder")
        << QList{app, entry("AppDomain-org.a", "f", 1), entry("HomeDomain", "Applications/org.a/f", 2),
                 entry("HomeDomain", "Applications/org.a/g", 3)}
        << "Applications:0(org.a:0(f:1 g:3))"_ba;
}

void TestManifest::buildsOneTree()
{
    QFETCH(QList<SampleRecord>, records);
    QTEST(outline(index(records)->rootNode), "tree");
}

// Applications that no other domain reaches into are built apart, which is faster. Out of few names all
// sorts of collisions come.
void TestManifest::applicationsApartMakeTheSameTree()
{
    static const QByteArrayList domains{"AppDomain-a", "AppDomain-", "AppDomain-\xF0\x9F\x98\x80", "ADomain"};
    static const QByteArrayList parts{"a", "a b", "a.c", "", "\xEF\xBF\xBD", "😀", "\xFF", "é"};
    QRandomGenerator random(42);
    for (int round = 0; round < 400; ++round) {
        QList<SampleRecord> records;
        for (int i = random.bounded(25); i > 0; --i) {
            QByteArrayList path;
            for (int depth = random.bounded(4); depth >= 0; --depth)
                path.append(parts.at(random.bounded(round % 2 ? 3 : int(parts.size()))));
            records.append(entry(domains.at(random.bounded(4)), path.join('/'), quint64(i)));
        }
        const QByteArray apart = outline(index(records + QList{entry("Z", "none/last")})->rootNode);
        const QByteArray joined = outline(index(records + QList{entry("Z", "Applications./last")})->rootNode);
        QCOMPARE(joined, apart);
    }
}

void TestManifest::findsDatabasesInAnyCase()
{
    const auto manifest =
        index({entry("hOMEdOMAIN", "library/sms/SMS.DB", 1), entry("hOMEdOMAIN", "Library/SMS/sms.db", 2),
               entry("HomeDomain", "Library/Notes/notes.sqlite", 1),
               entry("OtherDomain", "Library/Notes/notes.sqlite", 7)});
    QCOMPARE(manifest->smsDatabase->record.fileLength, 2U); // the first in the order of the tree
    QCOMPARE(manifest->notesDatabase->record.fileLength, 1U);
}

QTEST_GUILESS_MAIN(TestManifest)
#include "testmanifest.moc"
