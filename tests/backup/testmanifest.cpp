#include "backupmanifest.h"
#include "manifesttree.h"
#include "mbdbreader.h"
#include "samplembdb.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

SampleRecord entry(const QByteArray &domain, const QByteArray &path, quint64 length = 1)
{
    SampleRecord record;
    record.domain = domain;
    record.path = path;
    record.fileLength = length;
    return record;
}

QByteArray bytesOf(const QList<SampleRecord> &records)
{
    QByteArray bytes = sampleMbdbHeader();
    for (const SampleRecord &record : records)
        bytes += sampleRecordBytes(record);
    return bytes;
}

/// The tree as lines, each node below its parent: two blanks a level, name, length.
QStringList outline(const _ManifestNode &node, const QString &indent = {})
{
    QStringList lines;
    for (const _ManifestNode *child : node.children) {
        lines += indent + child->name + u' ' + QString::number(child->record.fileLength);
        lines += outline(*child, indent + u"  "_s);
    }
    return lines;
}

QStringList namesIn(const QMap<QString, _ManifestNode *> &map)
{
    QStringList names;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        names.append(u"%1=%2"_s.arg(it.key(), it.value()->name));
    return names;
}

} // namespace

class TestManifest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsEveryFieldOfARecord();
    void namesFilesByTheirHash_data();
    void namesFilesByTheirHash();
    void takesOddHeadersAndCounts();
    void cutManifestsNameFileAndPlace();
    void damagedManifestsNeverCrash();
    void refusesAFolder();
    void buildsOneTree_data();
    void buildsOneTree();
    void applicationsApartMakeTheSameTree();
    void takesDownDeepTrees();
    void findsDatabasesInAnyCase();
    void collectsFiles();

private:
    QString write(const QByteArray &bytes)
    {
        QFile file(dir.filePath(u"Manifest.mbdb"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the fixture can't be written");
        return file.fileName();
    }
    std::unique_ptr<BackupManifest> index(const QList<SampleRecord> &records)
    {
        write(bytesOf(records));
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
    sample.protectionClass = 0x84;
    sample.properties = {{"name", "value"}, {"", "x"}};
    const QHash<QString, _MbdbRecord> records = readMbdbFile(write(bytesOf({sample})));
    QCOMPARE(records.keys(), QStringList(u"3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s));
    const _MbdbRecord record = records.begin().value();
    QVERIFY(!record.linkTarget.isPresent() && !record.dataHash.isPresent());
    QCOMPARE(record.encryptionKey.bytes, sample.encryptionKey);
    QCOMPARE(record.mode, sample.mode);
    QCOMPARE(record.mtime, 0xFFFFFFFFU);
    QCOMPARE(record.fileLength, sample.fileLength);
    QCOMPARE(int(record.protectionClass), 0x84);
    QCOMPARE(record.properties.value(0).value.bytes, "value"_ba);
}

void TestManifest::namesFilesByTheirHash_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("text");
    QTest::newRow("umlaut and emoji") << "ä/😀"_ba << u"ä/😀"_s;
    QTest::newRow("cut at a zero byte") << QByteArray("ab\0cd", 5) << u"ab"_s;
    QTest::newRow("no UTF-8") << "a\xFF"_ba << u"a\uFFFD"_s;
}

void TestManifest::namesFilesByTheirHash()
{
    QFETCH(QByteArray, path);
    QFETCH(QString, text);
    const QHash<QString, _MbdbRecord> records = readMbdbFile(write(bytesOf({entry("HomeDomain", path)})));
    QCOMPARE(records.begin().value().path.text(), text);
    QCOMPARE(records.begin().key(), sampleHashedName("HomeDomain", text.toUtf8()));
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
    const QByteArray whole = bytesOf({entry("HomeDomain", "a"), second});
    const qsizetype firstEnd = bytesOf({entry("HomeDomain", "a")}).size();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        // Between records, and where only a part of the very last text is gone, nobody can tell.
        if (length == 6 || length == firstEnd || length > whole.size() - 5)
            continue;
        const QString path = write(whole.first(length));
        BackupManifest manifest(dir.path());
        try {
            manifest.loadIndex();
            QFAIL(qPrintable(QString::number(length)));
        } catch (const std::runtime_error &error) {
            const QString text = QString::fromUtf8(error.what());
            QVERIFY(text.startsWith(path) && text.contains(QString::number(length)) && !text.contains(u'\n'));
            QVERIFY(manifest.rootNode.children.isEmpty());
        }
    }
}

void TestManifest::damagedManifestsNeverCrash()
{
    const QByteArray whole =
        bytesOf({entry("AppDomain-a.b", "x/y"), entry("HomeDomain", "Library/SMS/sms.db")});
    for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
        QByteArray flipped = whole;
        flipped[bit / 8] = char(flipped.at(bit / 8) ^ (1 << bit % 8));
        BackupManifest manifest(dir.path());
        try {
            buildManifestTree(manifest, flipped, u"Manifest.mbdb"_s);
        } catch (const std::runtime_error &error) {
            QVERIFY(QByteArray(error.what()).contains("Manifest.mbdb"));
        }
    }
}

void TestManifest::refusesAFolder()
{
    QVERIFY(QDir(dir.path()).mkpath(u"folder/Manifest.mbdb"_s));
    QVERIFY_EXCEPTION_THROWN(BackupManifest(dir.filePath(u"folder"_s)).loadIndex(), std::runtime_error);
}

void TestManifest::buildsOneTree_data()
{
    QTest::addColumn<QList<SampleRecord>>("records");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("domains share their folders")
        << QList<SampleRecord>{entry("MediaDomain", "Library/b"), entry("MediaDomain", "Library", 0),
                               entry("HomeDomain", "Library/a"), entry("HomeDomain", "Library", 0)}
        << QStringList{u"Library 0"_s, u"  a 1"_s, u"  b 1"_s};
    QTest::newRow("the later record of a file stays, the entry of a domain itself adds nothing")
        << QList<SampleRecord>{entry("D", "a", 1), entry("D", "", 0), entry("D", "a", 2)}
        << QStringList{u"a 2"_s};
    QTest::newRow("applications have a folder each")
        << QList<SampleRecord>{entry("AppDomain-org.b", "x"), entry("AppDomain-org.b", "", 0),
                               entry("AppDomain-org.a", "", 0), entry("appdomain-org.c", "y")}
        << QStringList{u"Applications 0"_s, u"  org.a 0"_s, u"  org.b 0"_s, u"    x 1"_s, u"y 1"_s};
    QTest::newRow("files without a folder hang under the root")
        << QList<SampleRecord>{entry("HomeDomain", "Library/deep/file"),
                               entry("AppDomain-org.a", "Documents/doc")}
        << QStringList{u"Applications 0"_s, u"doc 1"_s, u"file 1"_s};
    QTest::newRow("a folder of a later domain comes too late")
        << QList<SampleRecord>{entry("ADomain", "Media/x"), entry("BDomain", "Media", 0)}
        << QStringList{u"x 1"_s, u"Media 0"_s};
    QTest::newRow("the first domain has a path")
        << QList<SampleRecord>{entry("BDomain", "f", 2), entry("ADomain", "f", 1)} << QStringList{u"f 1"_s};
    QTest::newRow("beyond U+FFFF comes before U+FFFD")
        << QList<SampleRecord>{entry("D", "\uFFFD"), entry("D", "😀"), entry("D", "z")}
        << QStringList{u"z 1"_s, u"😀 1"_s, u"\uFFFD 1"_s};
    QTest::newRow("another domain may name an application's folder")
        << QList<SampleRecord>{entry("AppDomain-org.a", "", 0), entry("AppDomain-org.a", "f", 1),
                               entry("HomeDomain", "Applications/org.a/f", 2),
                               entry("HomeDomain", "Applications/org.a/g", 3)}
        << QStringList{u"Applications 0"_s, u"  org.a 0"_s, u"    f 1"_s, u"    g 3"_s};
}

void TestManifest::buildsOneTree()
{
    QFETCH(QList<SampleRecord>, records);
    QTEST(outline(index(records)->rootNode), "lines");
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
        const QStringList apart = outline(index(records)->rootNode);
        records.append(entry("Z", "Applications.last"));
        QCOMPARE(outline(index(records)->rootNode), apart + QStringList(u"Applications.last 1"_s));
    }
}

void TestManifest::takesDownDeepTrees()
{
    _ManifestNode root;
    _ManifestNode *deepest = &root;
    for (int depth = 0; depth < 1'000'000; ++depth) {
        auto *child = new _ManifestNode;
        deepest->children.append(child);
        deepest = child;
    }
}

void TestManifest::findsDatabasesInAnyCase()
{
    const auto manifest =
        index({entry("hOMEdOMAIN", "library/sms/SMS.DB", 1), entry("hOMEdOMAIN", "Library/SMS/sms.db", 2),
               entry("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb"),
               entry("ADomain", "Library/AddressBook/AddressBook.sqlitedb", 7)});
    QCOMPARE(manifest->smsDatabase->record.fileLength, 2U); // the first in the order of the tree
    QVERIFY(!manifest->addressBookDatabase);                // the other domain came first
}

void TestManifest::collectsFiles()
{
    const auto manifest = index({entry("MediaDomain", "Library/SMS/Attachments/0a/p.q.jpg"),
                                 entry("MediaDomain", "Library/SMS/Attachments/0a/10/ID/deep.jpg"),
                                 entry("MediaDomain", "Library/SMS/Attachments/0a/m-preview-left.jpg"),
                                 entry("MediaDomain", "Library/SMS/Parts/1a/02/9-0.vcf"),
                                 entry("MediaDomain", "Library/SMS/Empty", 0)});
    const QString folder = u"/var/mobile/Library/SMS/"_s;
    QCOMPARE(namesIn(manifest->smsFilesByStem),
             QStringList({folder + u"Attachments/0a/10/ID/deep=deep.jpg"_s,
                          folder + u"Attachments/0a/m-preview=m-preview-left.jpg"_s,
                          folder + u"Attachments/0a/m-preview-left=m-preview-left.jpg"_s,
                          folder + u"Attachments/0a/p.q=p.q.jpg"_s, folder + u"Parts/1a/02/9-0=9-0.vcf"_s}));
    QCOMPARE(namesIn(manifest->smsAttachmentsByName),
             QStringList({u"0a/m-preview-left=m-preview-left.jpg"_s, u"0a/p=p.q.jpg"_s}));
    QCOMPARE(namesIn(manifest->smsPartsByName), QStringList(u"9-0=9-0.vcf"_s));
}

QTEST_GUILESS_MAIN(TestManifest)
#include "testmanifest.moc"
