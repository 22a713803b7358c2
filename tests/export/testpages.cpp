#include "conversation.h"
#include "exportchoice.h"
#include "exportconversation.h"
#include "exportsmspdf.h"
#include "messagestore.h"

#include <QDir>
#include <QGuiApplication>
#include <QLocale>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace
{

/// Lets no file grow beyond `bytes`, as a full disk would.
class SmallDisk
{
public:
    explicit SmallDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before = {};
};

bool isMissing(const QString &program)
{
    return QStandardPaths::findExecutable(program).isEmpty();
}

/// The text of each page of a PDF file.
QStringList pagesOf(const QString &path)
{
    QProcess reader;
    reader.start(u"pdftotext"_s, {u"-layout"_s, u"-enc"_s, u"UTF-8"_s, path, u"-"_s});
    reader.waitForFinished();
    QStringList pages = QString::fromUtf8(reader.readAllStandardOutput()).split(u'\f');
    pages.removeLast(); // each page ends in a form feed
    return pages;
}

QString numberedLines(const QString &name, int count)
{
    QStringList lines;
    for (int line = 1; line <= count; ++line)
        lines.append(u"%1 line %2."_s.arg(name).arg(line));
    return lines.join(u'\n');
}

QString shortDate(const _MsgMessage &message)
{
    return QLocale::system().toString(appleDateTime(message.date), QLocale::ShortFormat);
}

} // namespace

class TestPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void aConversationIsOneFile_data();
    void aConversationIsOneFile();
    void fileNamesAreLegal_data();
    void fileNamesAreLegal();
    void equalNamesStayApart();
    void filesOfAnEarlierExportStay();
    void styleFilesComeAlong();
    void aFullDiskLeavesNoTornFile_data();
    void aFullDiskLeavesNoTornFile();
    void aCancelledExportTakesItsFoldersAway();
    void foldersThatCantBeWrittenAreErrors_data();
    void foldersThatCantBeWrittenAreErrors();
    void htmlHasABlockForEachMessage();
    void htmlIsValid();
    void pdfTextIsFound();
    void pdfMessagesMoveWholeToTheNextPage();
    void aMessageTallerThanAPageRunsOff();
    void aPainterThatCantStartIsSilent();
    void hugeMessagesBreakNothing();
    void typedNamesBecomePlans_data();
    void typedNamesBecomePlans();
    void unknownFiltersAreRefused();

private:
    QStringList files() const { return QDir(folder).entryList(QDir::Files, QDir::Name); }
    QString exportPdf(const Conversation &conversation)
    {
        exportMessages(conversation.all(), {folder, ExportPdf}, progress);
        return QDir(folder).filePath(files().value(0));
    }

    std::unique_ptr<QTemporaryDir> dir;
    QString folder;
    SilentProgress progress;
};

void TestPages::initTestCase()
{
    QGuiApplication::setFont(QFont(u"DejaVu Sans"_s)); // what fits on a page hangs on the font
}

void TestPages::init()
{
    dir = std::make_unique<QTemporaryDir>();
    folder = dir->filePath(u"a/out"_s);
}

void TestPages::aConversationIsOneFile_data()
{
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<QList<QByteArray>>("texts");
    QTest::newRow("oldest first") << true << QList{"one"_ba, "two"_ba, "three"_ba, "four"_ba};
    QTest::newRow("newest first") << false << QList{"four"_ba, "three"_ba, "two"_ba, "one"_ba};
}

void TestPages::aConversationIsOneFile()
{
    QFETCH(bool, ascending);
    QFETCH(QList<QByteArray>, texts);
    // Another conversation stands between the chats of the first, and its messages between theirs.
    Conversation sms({person(u"+34611"_s, u"Ana"_s)}, u"ANN@x"_s, 1);
    Conversation other({person(u"+34622"_s, u"Bo"_s)}, u"+34622"_s, 2);
    Conversation blue({person(u"ann@x"_s, u"Ana"_s)}, u"ann@X"_s, 3);
    QList<_MsgMessage *> messages;
    for (Conversation *chat : {&blue, &other, &sms})
        messages.append(&chat->add(chat == &blue ? u"two"_s : chat == &sms ? u"one"_s : u"else"_s));
    for (Conversation *chat : {&blue, &sms})
        messages.append(&chat->add(chat == &blue ? u"four"_s : u"three"_s));
    messages.append(&other.add(u"alone"_s));
    messages.last()->chat = nullptr;

    QCOMPARE(exportMessages(messages, {folder, ExportHtml, ascending}, progress), 6);
    QCOMPARE(files(), QStringList({u"Ana (+34611).html"_s, u"Bo (+34622).html"_s, u"unknown-chat.html"_s}));
    const QByteArray html = contentOf(folder + u"/Ana (+34611).html"_s);
    QList<qsizetype> places;
    for (const QByteArray &text : std::as_const(texts))
        places.append(html.indexOf(QByteArray(">" + text + "<")));
    QVERIFY(!places.contains(-1) && std::is_sorted(places.begin(), places.end()));
    QVERIFY(!html.contains(">else<"));
}

void TestPages::fileNamesAreLegal_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << u"Ana Berg"_s << u"Ana Berg"_s;
    QTest::newRow("path signs go") << u"../../a/b:c"_s << u"abc"_s;
    QTest::newRow("dots would hide it") << u".profile"_s << u"profile"_s;
    QTest::newRow("inner and last dots stay") << u"Dr. Berg jr."_s << u"Dr. Berg jr."_s;
    QTest::newRow("the folder itself") << u"."_s << u"Unknown"_s;
    QTest::newRow("the folder above") << u".."_s << u"Unknown"_s;
    QTest::newRow("nothing left") << u" ??? "_s << u"Unknown"_s;
    QTest::newRow("a device of Windows") << u"con"_s << u"_con"_s;
    QTest::newRow("a device before a dot") << u"LPT1.x"_s << u"_LPT1.x"_s;
    QTest::newRow("only begins as a device") << u"Conny"_s << u"Conny"_s;
    QTest::newRow("control characters") << u"a\nb"_s + QChar(0) + u"c\x7f"_s << u"abc"_s;
    QTest::newRow("half a surrogate pair") << u"a/"_s + QChar(0xD83D) + u"/b"_s << u"ab"_s;
    QTest::newRow("5000 letters") << QString(5000, u'x') << QString(200, u'x');
    QTest::newRow("cut between characters")
        << QString(u'x' + u"😄"_s.repeated(60)) << QString(u'x' + u"😄"_s.repeated(49));
}

void TestPages::fileNamesAreLegal()
{
    QFETCH(QString, title);
    Conversation named({person(u"+34611"_s)});
    named.chat.display_name = title;
    QTEST(conversationFileName(&named.chat), "expected");
    Conversation group({person(u"a@b"_s), person(u"c@d"_s)}, title);
    group.chat.display_name = u"Trip"_s;
    QTEST(conversationFileName(&group.chat), "expected");
}

void TestPages::equalNamesStayApart()
{
    std::vector<std::unique_ptr<Conversation>> conversations;
    QList<_MsgMessage *> messages;
    for (const QString &title : {u"Dr. A/B"_s, u"Dr. A:B"_s, u"Dr. AB(1)"_s, u"Dr. AB"_s}) {
        const int number = int(conversations.size()) + 1;
        conversations.push_back(
            std::make_unique<Conversation>(QList{person(u"+34611"_s)}, u"chat%1"_s.arg(number), number));
        conversations.back()->chat.display_name = title;
        messages.prepend(&conversations.back()->add(title));
    }
    exportMessages(messages, {folder, ExportHtml, false}, progress);
    QCOMPARE(files(), QStringList({u"Dr. AB(1)(1).html"_s, u"Dr. AB(1).html"_s, u"Dr. AB(2).html"_s,
                                   u"Dr. AB.html"_s}));
    QVERIFY(contentOf(folder + u"/Dr. AB.html"_s).contains("Dr. A/B"));
    QVERIFY(contentOf(folder + u"/Dr. AB(1).html"_s).contains("Dr. A:B"));
}

void TestPages::filesOfAnEarlierExportStay()
{
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"old"_s);
    exportMessages(conversation.all(), {folder, ExportHtml}, progress);
    const QByteArray old = contentOf(folder + u"/+34611.html"_s);
    conversation.add(u"new"_s);
    exportMessages(conversation.all(), {folder, ExportHtml}, progress);
    QCOMPARE(contentOf(folder + u"/+34611.html"_s), old);
    QVERIFY(contentOf(folder + u"/+34611(1).html"_s).contains(">new<"));
}

void TestPages::styleFilesComeAlong()
{
    const QString bubbles = QCoreApplication::applicationDirPath() + u"/bubble"_s;
    const auto cleanUp = qScopeGuard([&] { QDir(bubbles).removeRecursively(); });
    QVERIFY(QDir().mkpath(bubbles) && QDir().mkpath(folder + u"/files/bubble"_s));
    const QStringList paths = {bubbles + u"/new.png"_s, bubbles + u"/own.png"_s,
                               folder + u"/files/bubble/own.png"_s};
    for (const QString &path : paths) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(path.startsWith(folder) ? "own" : "ours");
    }
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"x"_s);
    exportMessages(conversation.all(), {folder, ExportHtml}, progress);
    QCOMPARE(contentOf(folder + u"/files/bubble/new.png"_s), "ours"_ba);
    QCOMPARE(contentOf(folder + u"/files/bubble/own.png"_s), "own"_ba);
}

void TestPages::aFullDiskLeavesNoTornFile_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<FinishedFiles>("afterFailure");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("html, finished files stay")
        << int(ExportHtml) << FinishedFiles::Stay << QStringList{u"+34611.html"_s, u"old.html"_s};
    QTest::newRow("pdf, finished files stay")
        << int(ExportPdf) << FinishedFiles::Stay << QStringList{u"+34611.pdf"_s, u"old.html"_s};
    QTest::newRow("html, all go") << int(ExportHtml) << FinishedFiles::AreRemoved
                                  << QStringList{u"old.html"_s};
    QTest::newRow("pdf, all go") << int(ExportPdf) << FinishedFiles::AreRemoved << QStringList{u"old.html"_s};
}

void TestPages::aFullDiskLeavesNoTornFile()
{
    QFETCH(int, format);
    QFETCH(FinishedFiles, afterFailure);
    QVERIFY(QDir().mkpath(folder));
    QFile old(folder + u"/old.html"_s);
    QVERIFY(old.open(QIODevice::WriteOnly));
    Conversation fits({person(u"+34611"_s)}, u"1"_s, 1);
    fits.add(u"x"_s);
    Conversation tooLong({person(u"+34622"_s)}, u"2"_s, 2);
    for (int i = 0; i < 5000; ++i)
        tooLong.add(u"%1"_s.arg(i * 7919 % 5000));
    try {
        const SmallDisk disk(100'000);
        exportMessages(fits.all() + tooLong.all(), {folder, format, true, afterFailure}, progress);
        QFAIL("no error");
    } catch (const std::runtime_error &error) {
        QVERIFY2(QByteArray(error.what()).contains("+34622"), error.what());
    }
    QTEST(files(), "left");
    QCOMPARE(QFileInfo::exists(folder + u"/files"_s),
             format == ExportHtml && afterFailure == FinishedFiles::Stay);
}

void TestPages::aCancelledExportTakesItsFoldersAway()
{
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"x"_s);
    progress.cancelled = true;
    for (const int format : {int(ExportHtml), int(ExportPdf)}) {
        QVERIFY_EXCEPTION_THROWN(
            exportMessages(conversation.all(), {folder, format, true, FinishedFiles::AreRemoved}, progress),
            int);
        QVERIFY(QDir(dir->path()).isEmpty());
    }
    progress.cancelled = false;
}

void TestPages::foldersThatCantBeWrittenAreErrors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("format");
    for (const int format : {int(ExportHtml), int(ExportPdf)}) {
        QTest::addRow("read-only %d", format) << u"/proc"_s << format;
        QTest::addRow("below a file %d", format) << u"/proc/version/x"_s << format;
    }
}

void TestPages::foldersThatCantBeWrittenAreErrors()
{
    QFETCH(QString, path);
    QFETCH(int, format);
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"x"_s);
    try {
        exportMessages(conversation.all(), {path, format}, progress);
        QFAIL("no error");
    } catch (const std::runtime_error &error) {
        QVERIFY2(QString::fromUtf8(error.what()).startsWith(path), error.what());
    }
}

void TestPages::htmlHasABlockForEachMessage()
{
    Conversation conversation({person(u"+34611"_s, u"Ana <b>"_s)});
    const QByteArray first = shortDate(conversation.add(u"a<b\r\nc & d"_s)).toUtf8();
    const QByteArray second = shortDate(conversation.add(u"%1 😄"_s, true)).toUtf8();
    exportMessages(conversation.all(), {folder, ExportHtml}, progress);
    QCOMPARE(files(), QStringList{u"Ana b (+34611).html"_s});
    const QByteArray html = contentOf(folder + u"/Ana b (+34611).html"_s);
    QVERIFY(html.startsWith("<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\""));
    QCOMPARE(html.mid(html.indexOf("<title>")),
             QByteArray("<title>Marrowlight Message Vault</title></head><body>"
                        "<a name=\"sms1001\"></a><div style=\"color:#0000FF;font-size:16px;\"><div>" +
                        first +
                        "</div><div>From: Ana &lt;b&gt; (+34611)</div></div>"
                        "<div style=\"font-size:14px;\">a&lt;b<br/>c &amp; d</div><br/><br/>\n"
                        "<a name=\"sms1002\"></a><div style=\"color:#008040;font-size:16px;\"><div>" +
                        second +
                        "</div><div>To: Ana &lt;b&gt; (+34611)</div></div>"
                        "<div style=\"font-size:14px;\">%1 [EMOJI]</div><br/><br/>\n</body></html>"));
}

void TestPages::htmlIsValid()
{
    if (isMissing(u"xmllint"_s))
        QSKIP("xmllint is not installed");
    Conversation conversation({person(u"+34611"_s, u"]]><script>\"&'"_s)});
    for (char16_t unit = 0; unit < 0x100; ++unit)
        conversation.add(QString(QChar(unit)) + u'x');
    for (const char16_t unit : {0xD83E, 0xDC00, 0xFDD0, 0xFFFE, 0xFFFF, 0x2028, 0x202E})
        conversation.add(u"half "_s + QChar(unit) + u"\nend"_s);
    conversation.add(u"🥸 whole, beside a half: "_s + QChar(0xDE00));
    conversation.add(QString(1'000'000, u'<'));
    conversation.add(u"made up"_s).rowid = -2147483648;
    exportMessages(conversation.all(), {folder, ExportHtml}, progress);

    QProcess validator;
    validator.start(u"xmllint"_s, {u"--noout"_s, u"--valid"_s, u"--nonet"_s, u"--huge"_s,
                                   folder + u'/' + files().value(0)});
    QVERIFY(validator.waitForFinished());
    QVERIFY2(validator.exitCode() == 0, validator.readAllStandardError().constData());
    QCOMPARE(contentOf(folder + u'/' + files().value(0)).count("<a name="), conversation.messages.size());
}

void TestPages::pdfTextIsFound()
{
    if (isMissing(u"pdftotext"_s))
        QSKIP("pdftotext is not installed");
    Conversation conversation({person(u"+34611"_s, u"Ana <b>"_s)});
    const QString first = shortDate(conversation.add(u"Find the coffee office,\r\nfluffy <i>& co</i>"_s));
    conversation.add(u"Наталья: %1"_s, true);
    QString longWord;
    for (int i = 1000; i < 1100; ++i)
        longWord += QString::number(i);
    conversation.add(longWord);
    const QString page = pagesOf(exportPdf(conversation)).value(0);
    QStringList lines;
    for (const QString &line : page.split(u'\n', Qt::SkipEmptyParts))
        lines.append(line.simplified());
    const QString text = lines.join(u'\n');
    QVERIFY2(
        text.startsWith(first + u"\nFrom: Ana <b> (+34611)\nFind the coffee office,\nfluffy <i>& co</i>\n"_s),
        qUtf8Printable(text));
    QVERIFY(text.contains(u"\nTo: Ana <b> (+34611)\nНаталья: %1\n"_s));
    QVERIFY2(lines.join(QString()).contains(longWord), "a word that is longer than a line is cut");
}

void TestPages::pdfMessagesMoveWholeToTheNextPage()
{
    if (isMissing(u"pdftotext"_s))
        QSKIP("pdftotext is not installed");
    constexpr int count = 12;
    constexpr int lineCount = 14;
    Conversation conversation({person(u"+34611"_s)});
    for (int i = 0; i < count; ++i)
        conversation.add(numberedLines(u"m%1"_s.arg(i), lineCount));
    const QStringList pages = pagesOf(exportPdf(conversation));
    // Two messages of 17 lines and 40 units between take 686 of the 1016 units of a page; a third doesn't
    // fit.
    QCOMPARE(pages.size(), count / 2);
    for (int number = 1; number <= pages.size(); ++number) {
        const QString &page = pages.at(number - 1);
        QCOMPARE(page.trimmed().section(u'\n', -1).trimmed(), QString::number(number));
        for (const int message : {number * 2 - 2, number * 2 - 1})
            QCOMPARE(page.count(u"m%1 line"_s.arg(message)), lineCount);
    }
}

void TestPages::aMessageTallerThanAPageRunsOff()
{
    if (isMissing(u"pdftotext"_s))
        QSKIP("pdftotext is not installed");
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"before"_s);
    conversation.add(numberedLines(u"tall"_s, 200));
    conversation.add(u"after"_s);
    const QStringList pages = pagesOf(exportPdf(conversation));
    QCOMPARE(pages.size(), 3);
    QVERIFY(pages.at(1).contains(u"tall line 1."_s) && !pages.at(1).contains(u"tall line 200."_s));
    QVERIFY(pages.at(2).contains(u"after"_s) && !pages.at(2).contains(u"tall"_s));
}

void TestPages::aPainterThatCantStartIsSilent()
{
    Conversation conversation({person(u"+34611"_s)});
    const QString path = dir->filePath(u"missing/x.pdf"_s);
    ExportSMSPdf writer(path);
    writer.begin();
    writer.write(conversation.add(u"x"_s));
    writer.end();
    QVERIFY(!QFile::exists(path));
}

void TestPages::hugeMessagesBreakNothing()
{
    Conversation conversation({person(u"+34611"_s, QString(5000, u'n'))});
    conversation.add(u"word "_s.repeated(200'000));
    for (const int format : {int(ExportHtml), int(ExportPdf)})
        QCOMPARE(exportMessages(conversation.all(), {folder, format}, progress), 1);
    QCOMPARE(files(), QStringList({QString(200, u'n') + u".html"_s, QString(200, u'n') + u".pdf"_s}));
    QVERIFY(QFileInfo(folder + u'/' + files().at(0)).size() > 1'000'000);
}

void TestPages::typedNamesBecomePlans_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<int>("filter");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("format");
    QTest::newRow("text") << u"/d/sms"_s << 0 << u"/d/sms.txt"_s << int(ExportText);
    QTest::newRow("Doc is text") << u"/d/sms"_s << 1 << u"/d/sms.doc"_s << int(ExportText);
    QTest::newRow("CSV") << u"/d/sms(20240102-030405)"_s << 2 << u"/d/sms(20240102-030405).csv"_s
                         << int(ExportCsv);
    QTest::newRow("a typed suffix stays") << u"/d/sms.log"_s << 2 << u"/d/sms.log"_s << int(ExportCsv);
    QTest::newRow("a dot in the folder is no suffix")
        << u"/d.e/sms"_s << 0 << u"/d.e/sms.txt"_s << int(ExportText);
    QTest::newRow("PDF takes a folder") << u"/d/sms"_s << 3 << u"/d/sms-pdf"_s << int(ExportPdf);
    QTest::newRow("HTML with a suffix") << u"/d/sms.html"_s << 4 << u"/d/sms-html"_s << int(ExportHtml);
}

void TestPages::typedNamesBecomePlans()
{
    QFETCH(QString, fileName);
    QFETCH(int, filter);
    const ExportPlan plan = exportPlan(fileName, exportFilters().split(u";;"_s).at(filter));
    QTEST(plan.path, "path");
    QTEST(plan.format, "format");
}

void TestPages::unknownFiltersAreRefused()
{
    QVERIFY_EXCEPTION_THROWN(exportPlan(u"/d/sms"_s, u"All Files(*)"_s), std::runtime_error);
}

QTEST_MAIN(TestPages)
#include "testpages.moc"
