#include "app/boundedbytes.h"
#include "app/datalocations.h"
#include "app/errorreport.h"
#include "app/filetools.h"
#include "app/freespace.h"
#include "app/log.h"
#include "app/texts.h"
#include "app/workahead.h"
#include "testing/helpers/testtools.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

class TestApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void aFullDiskIsToldBefore();
    void redirectNamesAnExistingFolder();
    void namesOfFiles();
    void namesNeverLeaveTheirRoot();
    void reportsKeepTheirOddEncoding();
    void removingATreeStopsAtLinks();
    void logKeepsTheNewestFilesAndWritesUtf8();
    void jobsTellWhyTheyFailedUnlessCancelled();
    void cursorNeverReadsPastTheEnd();
    void piecesMadeAheadComeInOrder_data();
    void piecesMadeAheadComeInOrder();
    void everyKeyOfTheSourcesHasAText();

private:
    std::unique_ptr<QTemporaryDir> dir;
};

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

void TestApp::namesOfFiles()
{
    for (const QString &taken : {u"x.txt"_s, u"x(1).txt"_s, u"a.b.c"_s, u"%1%2.txt"_s})
        QVERIFY(writeFile(dir->filePath(taken)));
    const auto given = [this](const QString &wanted) {
        return QFileInfo(uniqueFileName(dir->filePath(wanted))).fileName();
    };
    QCOMPARE(given(u"x.txt"_s), u"x(2).txt"_s);
    QCOMPARE(given(u"a.b.c"_s), u"a(1).c"_s);
    QCOMPARE(given(u"%1%2.txt"_s), u"%1%2(1).txt"_s);
    QCOMPARE(safeFileName(u" \\/:*?\"<>|Ana 🌞 (1).pdf "_s), u"Ana 🌞 (1).pdf"_s);
}

void TestApp::namesNeverLeaveTheirRoot()
{
    const QDir root(dir->path());
    QVERIFY(QFile::link(u"/tmp"_s, dir->filePath(u"out"_s)));
    for (const QString &name : {u"a.txt"_s, u"a/b/c"_s, u"..a/b.."_s})
        QVERIFY2(pathBelow(root, name), qPrintable(name));
    for (const QString &name : {u".."_s, u"a/../../b"_s, u"/etc/passwd"_s, u"C:x"_s, u"a\\..\\b"_s, u""_s,
                                QString(u"a"_s + QChar(0) + u"b"_s), u"out"_s, u"out/file"_s})
        QVERIFY2(!pathBelow(root, name), qPrintable(name));
}

void TestApp::reportsKeepTheirOddEncoding()
{
    QCOMPARE(encodeReportField(u"???"_s), u"Pz8!"_s);
    QCOMPARE(encodeReportField(u"~~~>"_s), u"fn5+Pg--"_s);
    const QByteArray body = errorReportBody(u"a<BR />&lt;b&gt;"_s);
    QVERIFY(body.endsWith(encodeReportField(u"a\r\n<b>"_s).toUtf8()));
}

void TestApp::removingATreeStopsAtLinks()
{
    QVERIFY(writeFile(dir->filePath(u"kept/precious"_s)) && writeFile(dir->filePath(u"gone/deep/file"_s)));
    QVERIFY(QFile::link(dir->filePath(u"kept"_s), dir->filePath(u"gone/link"_s)));
    QVERIFY(QFile::link(dir->filePath(u"nowhere"_s), dir->filePath(u"gone/deep/dangling"_s)));
    QVERIFY(writeFile(dir->filePath(u"gone/.hidden"_s)));
    removeTree(dir->filePath(u"gone"_s));
    QVERIFY(!QFileInfo::exists(dir->filePath(u"gone"_s)));
    QVERIFY(QFile::exists(dir->filePath(u"kept/precious"_s)));
}

void TestApp::logKeepsTheNewestFilesAndWritesUtf8()
{
    const QDir logs(dir->filePath(u"qlogs"_s));
    for (int day = 10; day < 22; ++day)
        QVERIFY(writeFile(logs.filePath(u"log-202001%1.txt"_s.arg(day))));
    logInit(logs.path(), 10, LogConsole::Silent);
    QCOMPARE(logs.entryList(QDir::Files, QDir::Name).first(), u"log-20200112.txt"_s);
    qWarning().noquote() << u"Grüße"_s;
    qInstallMessageHandler(nullptr);
    const QString newest = logs.entryList(QDir::Files, QDir::Name).last();
    const QString line = QString::fromUtf8(bytesOf(logs.filePath(newest)));
    QVERIFY2(line.startsWith(u"(W "_s) && line.endsWith(u") Grüße\n"_s), qPrintable(line));
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

void TestApp::jobsTellWhyTheyFailedUnlessCancelled()
{
    for (const bool isCancelled : {false, true}) {
        RecordingProgress progress;
        progress.cancelled = isCancelled;
        static QStringList logged;
        logged.clear();
        const QtMessageHandler before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { logged.append(text); });
        runJob(progress, [&]() -> QString {
            throwIfCancelled(progress);
            throw std::runtime_error("ñ");
        });
        qInstallMessageHandler(before);
        QCOMPARE(progress.outcome, isCancelled ? u"not reported"_s : u"ñ"_s);
        QCOMPARE(logged, isCancelled ? QStringList() : QStringList(u"ñ"_s));
    }
}

void TestApp::aFullDiskIsToldBefore()
{
    const QString folder = dir->filePath(u"not/there/yet"_s);
    checkFreeSpaceThrow(folder, 1);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                             checkFreeSpaceThrow(folder, std::numeric_limits<qint64>::max()));
    QVERIFY(!QFile::exists(dir->filePath(u"not"_s)));
}

void TestApp::piecesMadeAheadComeInOrder_data()
{
    QTest::addColumn<int>("makerFailsAt");
    QTest::addColumn<int>("takerFailsAt");
    QTest::addColumn<int>("expected");
    QTest::newRow("all of them") << -1 << -1 << 1000;
    QTest::newRow("those before the maker fails") << 500 << -1 << 500;
    QTest::newRow("none after the taker fails") << -1 << 20 << 20;
}

void TestApp::piecesMadeAheadComeInOrder()
{
    QFETCH(int, makerFailsAt);
    QFETCH(int, takerFailsAt);
    int made = 0;
    QList<int> taken;
    int failedAt = -1;
    const auto make = [&](QByteArray &piece) {
        if (made == makerFailsAt)
            throw made;
        piece = QByteArray::number(made);
        return made++ < 1000;
    };
    const auto take = [&](const QByteArray &piece) {
        if (taken.size() == takerFailsAt)
            throw int(taken.size());
        taken.append(piece.toInt());
    };
    try {
        workAhead(make, take);
    } catch (int place) {
        failedAt = place;
    }
    QCOMPARE(failedAt, qMax(makerFailsAt, takerFailsAt));
    QTEST(int(taken.size()), "expected");
    for (int i = 0; i < taken.size(); ++i)
        QCOMPARE(taken.at(i), i);
    QVERIFY2(made <= taken.size() + 4, "memory has a bound");
}

void TestApp::everyKeyOfTheSourcesHasAText()
{
    static const QRegularExpression call(uR"-((?:tr|QT_TR_NOOP)\("(IDS_(?:[^"\\]|\\.)*)"\))-"_s);
    QTranslator translator;
    installTexts(translator);
    int keys = 0;
    QDirIterator files(QStringLiteral(SOURCES), {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString source = QString::fromUtf8(bytesOf(files.next()));
        for (auto match = call.globalMatch(source); match.hasNext(); ++keys) {
            const QString key = match.next().captured(1).replace(u"\\\""_s, u"\""_s);
            QVERIFY2(QObject::tr(key.toUtf8().constData()) != key, qPrintable(key));
        }
    }
    QVERIFY(keys > 30);
}

QTEST_GUILESS_MAIN(TestApp)
#include "testapp.moc"
