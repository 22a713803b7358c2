#include "backupmanifest.h"
#include "manifesttree.h"
#include "mbdbreader.h"
#include "samplembdb.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

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

/// The rules of the tree in their plainest form, to compare with.
class PlainTree
{
public:
    explicit PlainTree(const QHash<QString, _MbdbRecord> &records)
    {
        QList<_MbdbRecord> list = records.values();
        std::sort(list.begin(), list.end(), [](const _MbdbRecord &left, const _MbdbRecord &right) {
            if (left.domain.text() != right.domain.text())
                return left.domain.text() < right.domain.text();
            return left.path.text() < right.path.text();
        });
        for (const _MbdbRecord &record : std::as_const(list))
            add(record);
    }

    _ManifestNode root;

private:
    void add(const _MbdbRecord &record)
    {
        const QString domain = record.domain.text();
        QString path = record.path.text();
        if (domain.startsWith("AppDomain-"_L1)) {
            if (!byPath.contains(u"Applications"_s))
                hang(u"Applications"_s, u"Applications"_s, {}, &root);
            path = u"Applications/"_s + domain.mid(10) + (path.isEmpty() ? QString() : u'/' + path);
        }
        const qsizetype slash = path.lastIndexOf(u'/');
        const QString name = path.mid(slash + 1);
        if (!name.isEmpty() && !byPath.contains(path))
            hang(path, name, record, byPath.value(slash < 0 ? QString() : path.left(slash), &root));
    }

    void hang(const QString &path, const QString &name, const _MbdbRecord &record, _ManifestNode *parent)
    {
        auto *node = new _ManifestNode;
        node->name = name;
        node->record = record;
        parent->children.append(node);
        byPath.insert(path, node);
    }

    QHash<QString, _ManifestNode *> byPath;
};

template <typename Key>
QStringList namesIn(const QMap<Key, _ManifestNode *> &map)
{
    QStringList names;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        names.append(u"%1=%2"_s.arg(it.key()).arg(it.value()->name));
    return names;
}

} // namespace

class TestManifest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keepsEveryFieldOfARecord();
    void tellsNullFromEmpty();
    void namesFilesByTheirHash_data();
    void namesFilesByTheirHash();
    void takesAnyHeader();
    void noPropertiesBehindANegativeCount();
    void laterRecordOfAFileStays();
    void cutManifestsNameFileAndPlace();
    void damagedManifestsNeverCrash();
    void refusesWhatIsNoFile();
    void buildsOneTree_data();
    void buildsOneTree();
    void treeFollowsThePlainRules();
    void indexesAgainWhenThereWasNothing();
    void takesDownDeepTrees();
    void findsDatabasesInAnyCase();
    void collectsPictures();
    void collectsAttachmentsAndRecordings();

private:
    QString write(const QByteArray &bytes)
    {
        QFile file(dir->filePath(u"Manifest.mbdb"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the fixture can't be written");
        return file.fileName();
    }
    std::unique_ptr<BackupManifest> index(const QList<SampleRecord> &records)
    {
        write(bytesOf(records));
        auto manifest = std::make_unique<BackupManifest>(dir->path());
        manifest->loadIndex();
        return manifest;
    }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestManifest::init()
{
    dir = std::make_unique<QTemporaryDir>();
}

void TestManifest::keepsEveryFieldOfARecord()
{
    SampleRecord sample = entry("HomeDomain", "Library/SMS/sms.db", 0x1122334455667788);
    sample.linkTarget = "target";
    sample.dataHash = QByteArray(20, 'h');
    sample.encryptionKey = QByteArray(44, 'k');
    sample.inode = 0x0102030405060708;
    sample.mtime = 0xFFFFFFFF;
    sample.atime = 2;
    sample.ctime = 3;
    sample.protectionClass = 0x84;
    sample.properties = {{"name", "value"}, {"", "x"}};
    const QHash<QString, _MbdbRecord> records = readMbdbFile(write(bytesOf({sample})));
    QCOMPARE(records.keys(), QStringList(u"3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s));
    const _MbdbRecord record = records.begin().value();
    QCOMPARE(record.linkTarget.text(), u"target"_s);
    QCOMPARE(record.dataHash.bytes, sample.dataHash);
    QCOMPARE(record.encryptionKey.bytes, sample.encryptionKey);
    QCOMPARE(record.mode, sample.mode);
    QCOMPARE(record.inodeHigh, 0x01020304U);
    QCOMPARE(record.inodeLow, 0x05060708U);
    QCOMPARE(record.mtime, 0xFFFFFFFFU);
    QCOMPARE(record.atime + record.ctime, 5U);
    QCOMPARE(record.fileLength, sample.fileLength);
    QCOMPARE(int(record.protectionClass), 0x84);
    QCOMPARE(record.properties.size(), 2);
    QCOMPARE(record.properties.at(0).value.bytes, "value"_ba);
}

void TestManifest::tellsNullFromEmpty()
{
    SampleRecord sample = entry("D", "p");
    sample.linkTarget = QByteArray();
    sample.dataHash = "";
    const _MbdbRecord record = readMbdbFile(write(bytesOf({sample}))).begin().value();
    QCOMPARE(record.linkTarget.length, quint16(0xFFFF));
    QCOMPARE(record.dataHash.length, quint16(0));
    QVERIFY(!record.linkTarget.isPresent() && !record.dataHash.isPresent());
    QCOMPARE(record.linkTarget.text() + record.dataHash.text(), QString());
}

void TestManifest::namesFilesByTheirHash_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "Library/SMS/sms.db"_ba << u"Library/SMS/sms.db"_s;
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
    QCOMPARE(mbdbFileName(u"HomeDomain"_s, text), records.begin().key());
}

void TestManifest::takesAnyHeader()
{
    const QByteArray bytes = "noise!" + sampleRecordBytes(entry("D", "file"));
    QCOMPARE(readMbdbFile(write(bytes)).size(), 1);
}

void TestManifest::noPropertiesBehindANegativeCount()
{
    QByteArray first = sampleRecordBytes(entry("D", "first"));
    first.back() = '\x80';
    const auto records =
        readMbdbFile(write(sampleMbdbHeader() + first + sampleRecordBytes(entry("D", "second"))));
    QCOMPARE(records.size(), 2);
    QVERIFY(records.value(mbdbFileName(u"D"_s, u"first"_s)).properties.isEmpty());
}

void TestManifest::laterRecordOfAFileStays()
{
    const QList<SampleRecord> records{entry("D", "twice", 1), entry("D", "other", 5), entry("D", "twice", 2)};
    QCOMPARE(readMbdbFile(write(bytesOf(records))).value(mbdbFileName(u"D"_s, u"twice"_s)).fileLength, 2U);
    QCOMPARE(outline(index(records)->rootNode), QStringList({u"other 5"_s, u"twice 2"_s}));
}

void TestManifest::cutManifestsNameFileAndPlace()
{
    SampleRecord second = entry("HomeDomain", "b");
    second.properties = {{"name", "value"}};
    const QByteArray whole = bytesOf({entry("HomeDomain", "a"), second});
    const qsizetype firstEnd = bytesOf({entry("HomeDomain", "a")}).size();
    int cuts = 0;
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QString path = write(whole.first(length));
        try {
            readMbdbFile(path);
            // Between records, and where only a part of the very last text is gone, nobody can tell.
            QVERIFY(length == 6 || length == firstEnd || length > whole.size() - 5);
        } catch (const std::runtime_error &error) {
            ++cuts;
            const QString text = QString::fromUtf8(error.what());
            QVERIFY(text.startsWith(path) && text.contains(QString::number(length)) && !text.contains(u'\n'));
            BackupManifest manifest(dir->path());
            QVERIFY_EXCEPTION_THROWN(manifest.loadIndex(), std::runtime_error);
            QVERIFY(manifest.rootNode.children.isEmpty());
        }
    }
    QVERIFY(cuts > 100);
}

void TestManifest::damagedManifestsNeverCrash()
{
    const QByteArray whole =
        bytesOf({entry("AppDomain-a.b", "x/y"), entry("HomeDomain", "Library/SMS/sms.db")});
    for (qsizetype bit = 0; bit < whole.size() * 8; ++bit) {
        QByteArray flipped = whole;
        flipped[bit / 8] = char(flipped.at(bit / 8) ^ (1 << bit % 8));
        BackupManifest manifest(dir->path());
        try {
            buildManifestTree(manifest, flipped, u"Manifest.mbdb"_s);
        } catch (const std::runtime_error &error) {
            QVERIFY(QByteArray(error.what()).contains("Manifest.mbdb"));
        }
    }
}

void TestManifest::refusesWhatIsNoFile()
{
    BackupManifest manifest(dir->path());
    QVERIFY_EXCEPTION_THROWN(manifest.loadIndex(), std::runtime_error); // missing
    QVERIFY(QDir(dir->path()).mkdir(u"Manifest.mbdb"_s));
    QVERIFY_EXCEPTION_THROWN(manifest.loadIndex(), std::runtime_error);
}

void TestManifest::buildsOneTree_data()
{
    QTest::addColumn<QList<SampleRecord>>("records");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("domains share their folders")
        << QList<SampleRecord>{entry("MediaDomain", "Library/b"), entry("MediaDomain", "Library", 0),
                               entry("HomeDomain", "Library/a"), entry("HomeDomain", "Library", 0)}
        << QStringList{u"Library 0"_s, u"  a 1"_s, u"  b 1"_s};
    QTest::newRow("the entry of a domain itself adds nothing")
        << QList<SampleRecord>{entry("HomeDomain", "", 0), entry("HomeDomain", "a")} << QStringList{u"a 1"_s};
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

// Hundreds of small manifests out of few names, so that all sorts of collisions happen.
void TestManifest::treeFollowsThePlainRules()
{
    static const QByteArrayList domains{"HomeDomain",
                                        "MediaDomain",
                                        "AppDomain-a",
                                        "AppDomain-b/c",
                                        "AppDomain-",
                                        "ADomain",
                                        "AppDomain-\xF0\x9F\x98\x80",
                                        ""};
    static const QByteArrayList parts{"a", "a b",  "a.c", "", "Applications", "\xEF\xBF\xBD",
                                      "😀", "\xFF", "é",   "b"};
    QRandomGenerator random(42);
    for (int round = 0; round < 400; ++round) {
        QList<SampleRecord> records;
        const int domainCount = 1 + random.bounded(int(domains.size()));
        for (int i = random.bounded(25); i > 0; --i) {
            QByteArrayList path;
            for (int depth = random.bounded(4); depth >= 0; --depth)
                path.append(parts.at(random.bounded(round % 2 ? 3 : int(parts.size()))));
            records.append(entry(domains.at(random.bounded(domainCount)), path.join('/'), quint64(i)));
        }
        const auto manifest = index(records);
        const PlainTree plain(readMbdbFile(dir->filePath(u"Manifest.mbdb"_s)));
        QCOMPARE(outline(manifest->rootNode), outline(plain.root));
    }
}

void TestManifest::indexesAgainWhenThereWasNothing()
{
    write(sampleMbdbHeader());
    BackupManifest manifest(dir->path());
    manifest.loadIndex();
    QVERIFY(manifest.rootNode.children.isEmpty());
    write(bytesOf({entry("D", "a")}));
    manifest.loadIndex();
    manifest.loadIndex();
    QCOMPARE(outline(manifest.rootNode), QStringList(u"a 1"_s));
}

void TestManifest::takesDownDeepTrees()
{
    auto root = std::make_unique<_ManifestNode>();
    _ManifestNode *deepest = root.get();
    for (int depth = 0; depth < 1'000'000; ++depth) {
        auto *child = new _ManifestNode;
        deepest->children.append(child);
        deepest = child;
    }
    root.reset();
    QVERIFY(!root);
}

void TestManifest::findsDatabasesInAnyCase()
{
    const auto manifest =
        index({entry("hOMEdOMAIN", "library/sms/SMS.DB", 1), entry("hOMEdOMAIN", "Library/SMS/sms.db", 2),
               entry("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb"),
               entry("HomeDomain", "Library/AddressBook/AddressBookImages.sqlitedb"),
               entry("HomeDomain", "Library/Notes/notes.sqlite"),
               entry("HomeDomain", "Library/Calendar/Calendar.sqlitedb"),
               entry("HomeDomain", "Library/Calendar/Extras.db"),
               entry("HomeDomain", "Library/Voicemail/voicemail.db"),
               entry("HomeDomain", "Library/Safari/Bookmarks.db"),
               entry("HomeDomain", "Library/CallHistoryDB/CallHistory.storedata"),
               entry("MediaDomain", "Media/Recordings/Recordings.db"),
               entry("WirelessDomain", "Library/CallHistory/call_history.db"),
               entry("OtherDomain", "Library/Notes/notes.sqlite", 7)});
    QCOMPARE(manifest->smsDatabase->record.fileLength, 2U); // the first in the order of the tree
    QCOMPARE(manifest->notesDatabase->record.fileLength, 1U);
    for (const _ManifestNode *node :
         {manifest->addressBookDatabase, manifest->addressBookImagesDatabase, manifest->calendarDatabase,
          manifest->calendarExtrasDatabase, manifest->voicemailDatabase, manifest->bookmarksDatabase,
          manifest->callHistoryStore, manifest->recordingsDatabase, manifest->callHistoryDatabase})
        QVERIFY(node);
}

void TestManifest::collectsPictures()
{
    const auto manifest =
        index({entry("CameraRollDomain", "Media/DCIM/100APPLE/IMG_1.jpg"),
               entry("CameraRollDomain", "Media/DCIM/100APPLE/IMG_2.PNG"),
               entry("CameraRollDomain", "Media/DCIM/100APPLE/IMG_3.MOV"),
               entry("CameraRollDomain", "Media/DCIM/100APPLE/IMG_4.txt"),
               entry("CameraRollDomain", "Media/DCIM/100ORANGE/IMG_5.JPG"),
               entry("CameraRollDomain", "Media/PhotoData/MetaData/DCIM/100APPLE/IMG_6.THM"),
               entry("CameraRollDomain", "Media/PhotoData/MetaData/DCIM/100APPLE/IMG_7.JPG"),
               entry("CameraRollDomain", "Media/DCIM/.THMB/16/100APPLE___IMG_8.JPG"),
               entry("MediaDomain", "Media/DCIM/100APPLE/IMG_9.JPG")});
    QCOMPARE(manifest->cameraRollPhotos.size(), 2);
    QCOMPARE(manifest->cameraRollVideos.size(), 1);
    QCOMPARE(namesIn(manifest->cameraRollThumbnails),
             QStringList({u"IMG_6=IMG_6.THM"_s, u"IMG_8=100APPLE___IMG_8.JPG"_s}));
}

void TestManifest::collectsAttachmentsAndRecordings()
{
    const auto manifest = index(
        {entry("MediaDomain", "Library/SMS/Attachments/0a/p.q.jpg"),
         entry("MediaDomain", "Library/SMS/Attachments/0a/10/ID/deep.jpg"),
         entry("MediaDomain", "Library/SMS/Attachments/0a/m-preview-left.jpg"),
         entry("MediaDomain", "Library/SMS/Parts/1a/02/9-0.vcf"),
         entry("MediaDomain", "Library/SMS/Empty", 0), entry("MediaDomain", "Media/Recordings/memo.M4A"),
         entry("MediaDomain", "Media/Recordings/sub/memo.m4a"),
         entry("HomeDomain", "Library/Voicemail/17.amr"), entry("HomeDomain", "Library/Voicemail/17.amr\n"),
         entry("HomeDomain", "Library/Voicemail/x17.amr")});
    QCOMPARE(namesIn(manifest->smsFilesByStem),
             QStringList({u"/var/mobile/Library/SMS/Attachments/0a/10/ID/deep=deep.jpg"_s,
                          u"/var/mobile/Library/SMS/Attachments/0a/m-preview=m-preview-left.jpg"_s,
                          u"/var/mobile/Library/SMS/Attachments/0a/m-preview-left=m-preview-left.jpg"_s,
                          u"/var/mobile/Library/SMS/Attachments/0a/p.q=p.q.jpg"_s,
                          u"/var/mobile/Library/SMS/Parts/1a/02/9-0=9-0.vcf"_s}));
    QCOMPARE(namesIn(manifest->smsAttachmentsByName),
             QStringList({u"0a/m-preview-left=m-preview-left.jpg"_s, u"0a/p=p.q.jpg"_s}));
    QCOMPARE(namesIn(manifest->smsPartsByName), QStringList(u"9-0=9-0.vcf"_s));
    QCOMPARE(namesIn(manifest->recordingsByName), QStringList(u"memo.M4A=memo.M4A"_s));
    QCOMPARE(namesIn(manifest->voicemailsById), QStringList(u"17=17.amr"_s));
}

QTEST_GUILESS_MAIN(TestManifest)
#include "testmanifest.moc"
