#include "boundedbytes.h"
#include "datalocations.h"
#include "errorreport.h"
#include "filetools.h"
#include "jobprogress.h"
#include "log.h"
#include "product.h"
#include "texts.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

void writeFile(const QString &path, const QByteArray &content = {})
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

class TestApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void findsTheDataRootBelowTheProfile();
    void redirectNamesAnExistingFolder();
    void uniqueNames_data();
    void uniqueNames();
    void safeNames_data();
    void safeNames();
    void namesNeverLeaveTheirRoot_data();
    void namesNeverLeaveTheirRoot();
    void linksNeverLeaveTheirRoot();
    void removingATreeStopsAtLinks();
    void logKeepsTheNewestFilesAndWritesUtf8();
    void reportFields_data();
    void reportFields();
    void reportTurnsBreaksIntoLines();
    void textsReplaceKeys();
    void cursorNeverReadsPastTheEnd();
    void jobsEndOnce_data();
    void jobsEndOnce();

private:
    std::unique_ptr<QTemporaryDir> dir;
};

void TestApp::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

void TestApp::findsTheDataRootBelowTheProfile()
{
    const QString parent = qEnvironmentVariable("XDG_DATA_HOME");
    QCOMPARE(defaultDataParent(), parent + u"/Marrowlight"_s);
    QCOMPARE(dataRoot().absolutePath(), parent + u"/Marrowlight/7C1E40B9D3A25F68E0B47D19C6F2A83D"_s);
    QVERIFY(localDatabasesDir().exists());
}

void TestApp::redirectNamesAnExistingFolder()
{
    const QString folder = dir->filePath(u"größer"_s);
    writeRedirect(folder);
    QCOMPARE(readRedirect(), QString()); // its target is gone
    QVERIFY(QDir().mkpath(folder));
    QCOMPARE(readRedirect(), folder);
    writeRedirect({});
    QCOMPARE(readRedirect(), QString());
}

void TestApp::uniqueNames_data()
{
    QTest::addColumn<QStringList>("taken");
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("given");
    QTest::newRow("free name stays") << QStringList() << u"x.txt"_s << u"x.txt"_s;
    QTest::newRow("first free number")
        << QStringList{u"x.txt"_s, u"x(1).txt"_s} << u"x.txt"_s << u"x(2).txt"_s;
    QTest::newRow("no suffix, no dot") << QStringList{u"x"_s} << u"x"_s << u"x(1)"_s;
    QTest::newRow("cut at the first dot") << QStringList{u"a.b.c"_s} << u"a.b.c"_s << u"a(1).c"_s;
    QTest::newRow("percent signs are no places")
        << QStringList{u"%1%2.txt"_s} << u"%1%2.txt"_s << u"%1%2(1).txt"_s;
}

void TestApp::uniqueNames()
{
    QFETCH(QStringList, taken);
    QFETCH(QString, wanted);
    for (const QString &name : std::as_const(taken))
        writeFile(dir->filePath(name));
    QTEST(QFileInfo(uniqueFileName(dir->filePath(wanted))).fileName(), "given");
}

void TestApp::safeNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("forbidden and blanks go") << u" a:b? "_s << u"ab"_s;
    QTest::newRow("every forbidden sign") << u"\\/:*?\"<>|x"_s << u"x"_s;
    QTest::newRow("beside half a surrogate pair")
        << QString(u"a/b"_s + QChar(0xD83D)) << QString(u"ab"_s + QChar(0xD83D));
    QTest::newRow("other scripts stay") << u"Ana 🌞 (1).pdf"_s << u"Ana 🌞 (1).pdf"_s;
}

void TestApp::safeNames()
{
    QFETCH(QString, name);
    QTEST(safeFileName(name), "expected");
}

void TestApp::namesNeverLeaveTheirRoot_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("plain") << u"a.txt"_s << true;
    QTest::newRow("below folders") << u"a/b/c"_s << true;
    QTest::newRow("dots in a name") << u"..a/b.."_s << true;
    QTest::newRow("parent") << u".."_s << false;
    QTest::newRow("parent on the way") << u"a/../../b"_s << false;
    QTest::newRow("absolute") << u"/etc/passwd"_s << false;
    QTest::newRow("drive letter") << u"C:x"_s << false;
    QTest::newRow("backslashes") << u"a\\..\\b"_s << false;
    QTest::newRow("empty") << u""_s << false;
    QTest::newRow("NUL byte") << u"a"_s + QChar(0) + u"b"_s << false;
}

void TestApp::namesNeverLeaveTheirRoot()
{
    QFETCH(QString, name);
    QTEST(pathBelow(QDir(dir->path()), name).has_value(), "allowed");
}

void TestApp::linksNeverLeaveTheirRoot()
{
    QVERIFY(QFile::link(u"/tmp"_s, dir->filePath(u"out"_s)));
    QVERIFY(!pathBelow(QDir(dir->path()), u"out"_s));
    QVERIFY(!pathBelow(QDir(dir->path()), u"out/file"_s));
}

void TestApp::removingATreeStopsAtLinks()
{
    QVERIFY(QDir(dir->path()).mkpath(u"kept"_s));
    QVERIFY(QDir(dir->path()).mkpath(u"gone/deep"_s));
    writeFile(dir->filePath(u"kept/precious"_s));
    writeFile(dir->filePath(u"gone/deep/file"_s));
    QVERIFY(QFile::link(dir->filePath(u"kept"_s), dir->filePath(u"gone/link"_s)));
    removeTree(dir->filePath(u"gone"_s));
    QVERIFY(!QFileInfo::exists(dir->filePath(u"gone"_s)));
    QVERIFY(QFile::exists(dir->filePath(u"kept/precious"_s)));
}

void TestApp::logKeepsTheNewestFilesAndWritesUtf8()
{
    const QDir logs(dir->filePath(u"qlogs"_s));
    QVERIFY(logs.mkpath(u"."_s));
    for (int day = 10; day < 22; ++day)
        writeFile(logs.filePath(u"log-202001%1.txt"_s.arg(day)));
    logInit(logs.path(), 10, LogConsole::Silent);
    QCOMPARE(logs.entryList(QDir::Files, QDir::Name).first(), u"log-20200112.txt"_s);
    qWarning().noquote() << u"Grüße"_s;
    qInstallMessageHandler(nullptr);
    QFile newest(logs.filePath(logs.entryList(QDir::Files, QDir::Name).last()));
    QVERIFY(newest.open(QIODevice::ReadOnly));
    const QString line = QString::fromUtf8(newest.readAll());
    QVERIFY2(line.startsWith(u"(W "_s) && line.endsWith(u") Grüße\n"_s), qPrintable(line));
}

void TestApp::reportFields_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("padding") << u"a"_s << u"YQ--"_s;
    QTest::newRow("slash") << u"???"_s << u"Pz8!"_s;
    QTest::newRow("plus stays") << u"~~~>"_s << u"fn5+Pg--"_s;
}

void TestApp::reportFields()
{
    QFETCH(QString, value);
    QTEST(encodeReportField(value), "expected");
}

void TestApp::reportTurnsBreaksIntoLines()
{
    const QByteArray body = errorReportBody(u"a<BR />&lt;b&gt;"_s);
    QVERIFY(body.startsWith("prod="));
    const QByteArray version = encodeReportField(u"2.14.13(41)"_s).toUtf8();
    QVERIFY(body.contains(QByteArray("&ver=" + version + "&err=")));
    QVERIFY(body.endsWith(encodeReportField(u"a\r\n<b>"_s).toUtf8()));
}

void TestApp::textsReplaceKeys()
{
    QTranslator translator;
    installTexts(translator);
    QCOMPARE(QObject::tr("IDS_LOADING_ITUNES_BACKUP"), u"Loading iTunes backup..."_s);
}

void TestApp::cursorNeverReadsPastTheEnd()
{
    const QByteArray bytes("\x01\x02\x03", 3);
    ByteCursor cursor(bytes);
    QCOMPARE(cursor.takeBigEndian<quint16>(), std::optional<quint16>(0x0102));
    QCOMPARE(cursor.takeBigEndian<quint16>(), std::nullopt);
    QVERIFY(!cursor.take(2) && !cursor.take(-1));
    QCOMPARE(cursor.takeUpTo(1000).size(), 1);
    QVERIFY(cursor.atEnd());
}

namespace
{

class EndRecorder final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override {}
    void errorOccurred(const QString &err) override { ends.append(u"error "_s + err); }
    void succeed(const QString &tips) override { ends.append(u"done "_s + tips); }
    void tipsWait(const QString &) override {}
    QStringList ends;
};

} // namespace

void TestApp::jobsEndOnce_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("fail");
    QTest::addColumn<QStringList>("ends");
    QTest::newRow("done") << false << false << QStringList{u"done ok"_s};
    QTest::newRow("failed") << false << true << QStringList{u"error ñ"_s};
    QTest::newRow("cancelled says nothing") << true << true << QStringList{};
}

void TestApp::jobsEndOnce()
{
    QFETCH(bool, cancel);
    QFETCH(bool, fail);
    EndRecorder progress;
    progress.cancelled = cancel;
    runJob(progress, [&] {
        throwIfCancelled(progress);
        if (fail)
            throw std::runtime_error("ñ");
        return u"ok"_s;
    });
    QTEST(progress.ends, "ends");
}

QTEST_GUILESS_MAIN(TestApp)
#include "testapp.moc"
