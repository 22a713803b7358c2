#include "backupbuilder.h"
#include "backupdiscovery.h"
#include "sampleplist.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{

const QString home = u"HomeDomain"_s;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("the fixture can't be written");
}

QByteArray pattern(qsizetype length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    for (qsizetype i = 0; i < length; ++i)
        bytes[i] = char(i * 7 + i / 251);
    return bytes;
}

/// Content and dates of all files of a folder, by name.
QStringList stateOf(const QString &folder)
{
    QStringList state;
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::Name))
        state += file.fileName() + QString::number(file.lastModified().toMSecsSinceEpoch()) +
                 QString::fromLatin1(contentOf(file.filePath()).toHex());
    return state;
}

template <typename Work>
QString errorOf(Work work)
{
    try {
        work();
    } catch (const std::runtime_error &error) {
        return QString::fromUtf8(error.what());
    }
    return u"nothing was thrown"_s;
}

} // namespace

class TestBackupManifest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readsTheDescription_data();
    void readsTheDescription();
    void namesBackupsForPeople_data();
    void namesBackupsForPeople();
    void damagedDescriptionsLeaveDefaults();
    void missingDescriptionNamesTheFile();
    void extracts_data();
    void extracts();
    void extractedFilesKeepTheirDate();
    void filesWithoutAKeyStayCiphertext_data();
    void filesWithoutAKeyStayCiphertext();
    void oddCiphertextNamesTheFile();
    void reportsEachBlock();
    void fullDisksFailAndLeaveNothing();
    void failuresNameTheFile();
    void linksOutOfTheBackupAreRefused();
    void readingChangesNothing();
    void listsBackupsByName();
    void opensInSteps();

private:
    QString folder(const QString &name = u"backup"_s) const { return dir->filePath(name); }
    QString target() const { return dir->filePath(u"target"_s); }
    /// A backup with the one file "f" of `content`, opened.
    std::unique_ptr<BackupManifest> opened(const QByteArray &content, const QString &password = {},
                                           const std::function<void(SampleRecord &)> &change = {})
    {
        BackupBuilder builder{QDir(folder())};
        builder.password(password).iterations(3).file(home, u"f"_s, content).mtime(1234567);
        if (change)
            builder.with(change);
        builder.write();
        auto manifest = std::make_unique<BackupManifest>(folder());
        if (openBackup(*manifest, password) != BackupOpening::Ready)
            qFatal("the fixture does not open");
        return manifest;
    }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestBackupManifest::init()
{
    dir = std::make_unique<QTemporaryDir>();
}

void TestBackupManifest::readsTheDescription_data()
{
    QTest::addColumn<BackupBuilder::Plist>("format");
    QTest::newRow("binary") << BackupBuilder::Plist::Binary;
    QTest::newRow("XML") << BackupBuilder::Plist::Xml;
}

void TestBackupManifest::readsTheDescription()
{
    QFETCH(BackupBuilder::Plist, format);
    SampleDevice phone;
    phone.name = u"Añas 📱"_s;
    const QDateTime date = QDateTime::fromSecsSinceEpoch(1400000000, Qt::UTC);
    BackupBuilder(QDir(folder()))
        .plistFormat(format)
        .device(phone)
        .date(date)
        .password(u"x"_s)
        .iterations(1)
        .write();
    BackupManifest manifest(folder());
    manifest.loadInfo();
    QCOMPARE(manifest.uniqueDeviceId, phone.udid);
    QCOMPARE(manifest.deviceName, phone.name);
    QCOMPARE(manifest.backupDate, date);
    QCOMPARE(manifest.productType + manifest.productVersion, phone.productType + phone.productVersion);
    QCOMPARE(manifest.serialNumber, phone.serialNumber);
    QVERIFY(manifest.isEncrypted);
    QVERIFY(manifest.backupKeyBag.startsWith("VERS"));
    QVERIFY(manifest.rootNode.children.isEmpty());
}

void TestBackupManifest::namesBackupsForPeople_data()
{
    QTest::addColumn<QString>("folderName");
    QTest::addColumn<QString>("shown");
    const QString udid = SampleDevice().udid;
    QTest::newRow("named after the phone") << udid << u"Ana's iPhone"_s;
    QTest::newRow("with a time stamp") << udid + u"-20140101"_s << u"Ana's iPhone-20140101"_s;
    QTest::newRow("named otherwise") << u"old"_s << u"Ana's iPhone-old"_s;
}

void TestBackupManifest::namesBackupsForPeople()
{
    QFETCH(QString, folderName);
    BackupBuilder(QDir(folder(folderName))).write();
    BackupManifest manifest(folder(folderName));
    manifest.loadInfo();
    QTEST(manifest.displayName, "shown");
}

void TestBackupManifest::damagedDescriptionsLeaveDefaults()
{
    BackupBuilder(QDir(folder())).password(u"x"_s).iterations(1).write();
    const QString path = folder() + u"/Manifest.plist"_s;
    const QByteArray whole = contentOf(path);
    for (qsizetype length = 0; length < whole.size(); length += 7) {
        writeFile(path, whole.first(length));
        BackupManifest manifest(folder());
        manifest.loadInfo();
        QVERIFY(manifest.deviceName.isEmpty() || length > whole.size() / 2);
    }
    writeFile(path, "bplist00");
    BackupManifest manifest(folder());
    manifest.loadInfo();
    QVERIFY(!manifest.isEncrypted && !manifest.backupDate.isValid());
    QCOMPARE(manifest.displayName, u"backup"_s);
}

void TestBackupManifest::missingDescriptionNamesTheFile()
{
    const QString expected = u"Cannot find "_s + folder() + u"/Manifest.plist"_s;
    QCOMPARE(errorOf([&] { BackupManifest(folder()).loadInfo(); }), expected);
}

void TestBackupManifest::extracts_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("extracted");
    QTest::newRow("plain") << QString() << 20000 << 20000;
    QTest::newRow("plain, whole blocks") << QString() << 16384 << 16384;
    QTest::newRow("encrypted, padding goes") << u"pw"_s << 100 << 100;
    QTest::newRow("encrypted, one byte over") << u"pw"_s << 8193 << 8193;
    QTest::newRow("encrypted, chained over blocks") << u"pw"_s << 30001 << 30001;
    QTest::newRow("encrypted, a whole block of padding stays") << u"pw"_s << 8192 << 8208;
}

void TestBackupManifest::extracts()
{
    QFETCH(QString, password);
    QFETCH(int, length);
    QFETCH(int, extracted);
    const QByteArray content = pattern(length);
    const auto manifest = opened(content, password);
    manifest->extractFile(manifest->rootNode.children.first(), target());
    const QByteArray result = contentOf(target());
    QCOMPARE(result.size(), extracted);
    QCOMPARE(result.first(length), content);
}

void TestBackupManifest::extractedFilesKeepTheirDate()
{
    const auto manifest = opened("x");
    manifest->extractFile(manifest->rootNode.children.first(), target());
    QCOMPARE(QFileInfo(target()).lastModified().toSecsSinceEpoch(), 1234567);
    QCOMPARE(QFileInfo(target()).lastRead().toSecsSinceEpoch(), 1234567);
}

void TestBackupManifest::filesWithoutAKeyStayCiphertext_data()
{
    QTest::addColumn<int>("protectionClass");
    QTest::addColumn<int>("keyLength");
    QTest::newRow("a class that the keybag lacks") << 99 << 44;
    QTest::newRow("a class of the phone's own key") << 11 << 44;
    QTest::newRow("a short wrapped key") << 3 << 43;
    QTest::newRow("no wrapped key") << 3 << 0;
}

void TestBackupManifest::filesWithoutAKeyStayCiphertext()
{
    QFETCH(int, protectionClass);
    QFETCH(int, keyLength);
    const auto manifest = opened(pattern(100), u"pw"_s, [&](SampleRecord &record) {
        record.protectionClass = quint8(protectionClass);
        record.encryptionKey.truncate(keyLength);
    });
    const _ManifestNode *node = manifest->rootNode.children.first();
    manifest->extractFile(node, target());
    QCOMPARE(contentOf(target()), contentOf(*manifest->sourceFile(node->record)));
    QCOMPARE(contentOf(target()).size(), 112);
}

void TestBackupManifest::oddCiphertextNamesTheFile()
{
    const auto manifest = opened(pattern(100), u"pw"_s);
    const _ManifestNode *node = manifest->rootNode.children.first();
    QVERIFY(QFile::resize(*manifest->sourceFile(node->record), 111));
    QCOMPARE(errorOf([&] { manifest->extractFile(node, target()); }),
             recordFileName(node->record) + u", POLARSSL_ERR_AES_INVALID_INPUT_LENGTH."_s);
    QVERIFY(!QFile::exists(target()));
}

void TestBackupManifest::reportsEachBlock()
{
    const auto manifest = opened(pattern(20000));
    QList<qint64> reports;
    const ProgressCallback report = [](qint64 total, qint64 done, void *list) {
        static_cast<QList<qint64> *>(list)->append({done, total});
    };
    manifest->extractFile(manifest->rootNode.children.first(), target(), &reports, report);
    QCOMPARE(reports, QList<qint64>({8192, 20000, 16384, 20000, 20000, 20000}));
}

void TestBackupManifest::fullDisksFailAndLeaveNothing()
{
    const auto manifest = opened(pattern(100000));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{50000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit then fails
    setrlimit(RLIMIT_FSIZE, &small);
    const QString error =
        errorOf([&] { manifest->extractFile(manifest->rootNode.children.first(), target()); });
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY2(error.startsWith(target()), qUtf8Printable(error));
    QVERIFY(!QFile::exists(target()));
}

void TestBackupManifest::failuresNameTheFile()
{
    const auto manifest = opened("x");
    const _ManifestNode *node = manifest->rootNode.children.first();
    const QString elsewhere = dir->filePath(u"no/such/folder/target"_s);
    QVERIFY(errorOf([&] { manifest->extractFile(node, elsewhere); }).startsWith(elsewhere));
    const QString source = *manifest->sourceFile(node->record);
    QVERIFY(QFile::remove(source));
    QVERIFY(!manifest->sourceFile(node->record));
    QVERIFY(errorOf([&] { manifest->extractFile(node, target()); }).startsWith(source));
    QVERIFY(mkfifo(source.toUtf8().constData(), 0600) == 0);
    QVERIFY(errorOf([&] { manifest->extractFile(node, target()); }).startsWith(source)); // and does not wait
}

void TestBackupManifest::linksOutOfTheBackupAreRefused()
{
    const auto manifest = opened("x");
    const _ManifestNode *node = manifest->rootNode.children.first();
    const QString source = *manifest->sourceFile(node->record);
    writeFile(dir->filePath(u"secret"_s), "secret");
    QVERIFY(QFile::rename(source, folder() + u"/inside"_s) && QFile::link(u"inside"_s, source));
    QVERIFY(manifest->sourceFile(node->record));
    QVERIFY(QFile::remove(source) && QFile::link(dir->filePath(u"secret"_s), source));
    QVERIFY(!manifest->sourceFile(node->record));
    QVERIFY_EXCEPTION_THROWN(manifest->extractFile(node, target()), std::runtime_error);
    QVERIFY(!QFile::exists(target()));
}

void TestBackupManifest::readingChangesNothing()
{
    const auto first = opened(pattern(100), u"pw"_s);
    const QStringList before = stateOf(folder());
    BackupManifest manifest(folder());
    QCOMPARE(openBackup(manifest, u"wrong"_s), BackupOpening::WrongPassword);
    QCOMPARE(openBackup(manifest, u"pw"_s), BackupOpening::Ready);
    manifest.extractFile(manifest.rootNode.children.first(), target());
    QCOMPARE(stateOf(folder()), before);
}

void TestBackupManifest::listsBackupsByName()
{
    const QString root = dir->filePath(u"root"_s);
    QVERIFY(listBackups(root).isEmpty());
    for (const QString &name : {u"b"_s, u"c"_s, u"a"_s, u"without"_s, u"unreadable"_s})
        BackupBuilder(QDir(root + u'/' + name)).write();
    QVERIFY(QFile::remove(root + u"/without/Manifest.mbdb"_s));
    QVERIFY(QFile::remove(root + u"/unreadable/Manifest.plist"_s) &&
            QDir(root).mkdir(u"unreadable/Manifest.plist"_s));
    writeFile(root + u"/file"_s, "x");
    QStringList names;
    for (const auto &manifest : listBackups(root))
        names.append(manifest->backupDir.dirName() + u' ' + manifest->deviceName);
    QCOMPARE(names, QStringList({u"a Ana's iPhone"_s, u"b Ana's iPhone"_s, u"c Ana's iPhone"_s}));
    QCOMPARE(defaultBackupRoot(),
             qEnvironmentVariable("XDG_DATA_HOME") + u"/Apple Computer/MobileSync/Backup"_s);
}

void TestBackupManifest::opensInSteps()
{
    BackupBuilder(QDir(folder())).password(u"päss"_s).iterations(2).file(home, u"f"_s, "x").write();
    BackupManifest manifest(folder());
    QCOMPARE(openBackup(manifest, std::nullopt), BackupOpening::NeedsPassword);
    QCOMPARE(openBackup(manifest, u"pass"_s), BackupOpening::WrongPassword);
    QVERIFY(manifest.rootNode.children.isEmpty());
    QCOMPARE(openBackup(manifest, u"päss"_s), BackupOpening::Ready);
    QCOMPARE(manifest.rootNode.children.size(), 1);
    QCOMPARE(manifest.cacheFolderName().size(), 32);
    QVERIFY(manifest.cacheFolderName() != BackupManifest(folder(u"other"_s)).cacheFolderName());
}

QTEST_GUILESS_MAIN(TestBackupManifest)
#include "testbackupmanifest.moc"
