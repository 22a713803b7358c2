#include "export/bag.h"
#include "export/evidence.h"
#include "export/zipfile.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

struct Output {
    int status;
    QString text;
};

Output run(const QString &program, const QStringList &words, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, words);
    process.waitForFinished();
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

} // namespace

class TestBags : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void othersAgreeThatItIsWhole();
    void everyDifferenceIsNamed();
    void aHostileManifestIsAnError_data();
    void aHostileManifestIsAnError();
    void theSameInputGivesTheSameBag();
    void aFailureLeavesNothing();
    void othersOpenTheZipFile();

private:
    QString bag(const QString &name = u"bag"_s)
    {
        const QString folder = dir->filePath(name);
        makeEvidence(records->list(), planFor(folder), progress);
        return folder;
    }
    EvidencePlan planFor(const QString &folder) const
    {
        EvidencePlan plan;
        plan.folder = folder;
        plan.formats = {ExportJsonLines, ExportXlsx, ExportHtml};
        plan.originals = {{dir->filePath(u"sms.db"_s), u"SMS/sms.db"_s}};
        plan.run = {folder};
        return plan;
    }
    BagCheck check(const QString &folder) { return checkBag(QDir(folder), progress); }

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<Records> records;
    RecordingProgress progress;
};

void TestBags::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(writeFile(dir->filePath(u"sms.db"_s), "rows"));
    QVERIFY(writeFile(dir->filePath(u"a"_s), "picture"));
    records = std::make_unique<Records>();
    records->chat(u"+34611"_s)
        .received(u"Hola"_s)
        .attachment(u"~/x/50%\n\\..\u202Egpj.exe"_s, dir->filePath(u"a"_s));
}

void TestBags::othersAgreeThatItIsWhole()
{
    const QString folder = bag();
    for (const QString &manifest : {u"manifest-sha256.txt"_s, u"tagmanifest-sha256.txt"_s}) {
        const Output sums = run(u"sha256sum"_s, {u"--check"_s, u"--strict"_s, manifest}, folder);
        QVERIFY2(sums.status == 0, qUtf8Printable(sums.text));
    }
    const BagCheck checked = check(folder);
    QVERIFY(checked.isWhole());
    QCOMPARE(bytesOf(folder + u"/data/source/SMS/sms.db"_s), "rows"_ba);
    const QFileInfoList copies = QDir(folder + u"/data/attachments/1"_s).entryInfoList(QDir::Files);
    QCOMPARE(copies.size(), 1);
    QCOMPARE(copies.first().lastModified().toSecsSinceEpoch(), 978307200 + records->last().date);
}

void TestBags::everyDifferenceIsNamed()
{
    const QString folder = bag();
    QVERIFY(writeFile(folder + u"/data/source/SMS/sms.db"_s, "Rows"));
    QVERIFY(writeFile(folder + u"/bag-info.txt"_s, "x"));
    QVERIFY(QFile::remove(folder + u"/data/reckoning.json"_s));
    QVERIFY(writeFile(folder + u"/data/.more"_s, "x"));
    QVERIFY(writeFile(folder + u"/run.txt"_s, "of another run"));
    // A link to the same bytes is not the file.
    QVERIFY(QFile::remove(folder + u"/data/phone.json"_s));
    QVERIFY(writeFile(dir->filePath(u"phone.json"_s), "{\n}\n"));
    QVERIFY(QFile::link(dir->path(), folder + u"/data/folder"_s));
    QVERIFY(QFile::link(dir->filePath(u"phone.json"_s), folder + u"/data/phone.json"_s));
    const BagCheck checked = check(folder);
    QCOMPARE(checked.changed, QStringList({u"data/source/SMS/sms.db"_s, u"bag-info.txt"_s}));
    QCOMPARE(checked.missing, QStringList({u"data/phone.json"_s, u"data/reckoning.json"_s}));
    QCOMPARE(checked.extra, QStringList({u"data/.more"_s, u"data/folder"_s}));
}

void TestBags::aHostileManifestIsAnError_data()
{
    const QByteArray sum(64, 'a');
    QTest::addColumn<QByteArray>("manifest");
    QTest::newRow("no checksum") << "abc  data/x\n"_ba;
    QTest::newRow("a file twice") << sum + "  data/x\n" + sum + "  data/x\n";
    QTest::newRow("no name") << sum + "  \n";
    QTest::newRow("a line that doesn't end") << QByteArray(1'000'000, 'a');
}

void TestBags::aHostileManifestIsAnError()
{
    QFETCH(QByteArray, manifest);
    const QString folder = bag();
    QVERIFY(writeFile(folder + u"/manifest-sha256.txt"_s, manifest));
    QVERIFY_EXCEPTION_THROWN(check(folder), std::runtime_error);
    // What would lead out of the folder is missing from it.
    QVERIFY(writeFile(folder + u"/manifest-sha256.txt"_s, QByteArray(64, 'a') + "  ../sms.db\n"));
    QCOMPARE(check(folder).missing, QStringList(u"../sms.db"_s));
    QVERIFY_EXCEPTION_THROWN(check(dir->path()), std::runtime_error);
}

void TestBags::theSameInputGivesTheSameBag()
{
    const QString first = bag();
    QTest::qWait(2100); // a date in a zip file has two seconds
    const Output differences = run(u"diff"_s, {u"--recursive"_s, u"--brief"_s, first, bag(u"bag2"_s)}, {});
    QCOMPARE(differences.text.count(u'\n'), 1);
    QVERIFY(differences.text.contains(u"run.txt"_s));
}

void TestBags::aFailureLeavesNothing()
{
    const QStringList before = QDir(dir->path()).entryList(QDir::AllEntries | QDir::Hidden);
    EvidencePlan plan = planFor(dir->filePath(u"bag"_s));
    RecordingProgress cancelling;
    cancelling.actAtUpdate = 2;
    QVERIFY_EXCEPTION_THROWN(makeEvidence(records->list(), plan, cancelling), int);
    plan.originals.append({dir->filePath(u"gone"_s), u"gone"_s});
    QVERIFY_EXCEPTION_THROWN(makeEvidence(records->list(), plan, progress), std::runtime_error);
    plan.folder = dir->filePath(u"a"_s); // where a file stands
    QVERIFY_EXCEPTION_THROWN(makeEvidence(records->list(), plan, progress), std::runtime_error);
    QCOMPARE(QDir(dir->path()).entryList(QDir::AllEntries | QDir::Hidden), before);
}

void TestBags::othersOpenTheZipFile()
{
    const QDateTime start = QDateTime::currentDateTime();
    const QString folder = bag();
    const QString plain = dir->filePath(u"plain.zip"_s);
    packZip(folder, plain, {}, start, progress);
    const QByteArray first = bytesOf(plain);
    QCOMPARE(run(u"unzip"_s, {u"-q"_s, plain, u"-d"_s, u"out"_s}, dir->path()).status, 0);
    QCOMPARE(run(u"diff"_s, {u"-r"_s, u"bag"_s, u"out/bag"_s}, dir->path()).text, QString());
    QCOMPARE(QDir(dir->filePath(u"out/bag/data/attachments/1"_s))
                 .entryInfoList(QDir::Files)
                 .first()
                 .lastModified()
                 .date(),
             QDate(2013, 9, 4));
    packZip(folder, plain, {}, start, progress);
    QCOMPARE(bytesOf(plain), first);

    const QString secret = dir->filePath(u"secret.zip"_s);
    packZip(dir->filePath(u"sms.db"_s), secret, u"Käse 1"_s, start, progress);
    QVERIFY(!bytesOf(secret).contains("rows"));
    const QString list = run(u"7z"_s, {u"l"_s, u"-slt"_s, secret}, dir->path()).text;
    QVERIFY2(list.contains(u"AES-256"_s), qUtf8Printable(list));
    QVERIFY(run(u"7z"_s, {u"t"_s, u"-pno"_s, secret}, dir->path()).status != 0);
    QCOMPARE(run(u"7z"_s, {u"t"_s, u"-pKäse 1"_s, secret}, dir->path()).status, 0);

    RecordingProgress cancelling;
    cancelling.cancelled = true;
    QVERIFY_EXCEPTION_THROWN(packZip(folder, plain, {}, start, cancelling), int);
    QCOMPARE(bytesOf(plain), first);
}

QTEST_GUILESS_MAIN(TestBags)
#include "testbags.moc"
