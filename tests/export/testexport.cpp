#include "export/exportconversation.h"
#include "export/exportmessages.h"
#include "export/localdatetext.h"
#include "store/records/messagestore.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"

#include <QDir>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLocale>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

class TestExport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aConversationIsOneFile();
    void fileNamesAreLegal();
    void equalNamesStayApart();
    void aFullDiskLeavesNoTornFile();
    void htmlIsEscapedAndValid();
    void attachmentsStandBesideThePage();
    void pdfTextIsFound();
    void pdfMessagesMoveWholeToTheNextPage();
    void pdfRunsOnWhereAMessageIsTallerThanAPage();
    void pdfDrawsEmojiInColours();
    void pdfTextFromRightToLeftKeepsItsPlace();
    void csvFields();
    void csvHasHeaderDateAndDirection();
    void textHasColumnsAndALineForEachMessage();
    void datesAreThoseOfQt();
    void emojiStayWhereThePlanSaysSo();
    void aCancelledExportLeavesNothing();

private:
    QByteArray exported(const Records &records, int format)
    {
        exportMessages(records.list(), {path, format}, progress);
        return bytesOf(path);
    }
    QStringList files() const { return QDir(folder).entryList(QDir::Files, QDir::Name); }
    /// What `program` prints of the conversation's file.
    QByteArray readFromPdf(const Records &records, const QString &program, const QStringList &options)
    {
        exportMessages(records.list(), {folder, ExportPdf, true, {}, EmojiStyle::Characters}, progress);
        QProcess reader;
        reader.setWorkingDirectory(folder);
        reader.start(program, QStringList(options).replaceInStrings(u"FILE"_s, files().value(0)));
        reader.waitForFinished();
        return reader.readAllStandardOutput();
    }
    /// The text of each page of the conversation's file.
    QStringList pdfPages(const Records &records)
    {
        const QByteArray text =
            readFromPdf(records, u"pdftotext"_s, {u"-layout"_s, u"-enc"_s, u"UTF-8"_s, u"FILE"_s, u"-"_s});
        return QString::fromUtf8(text).split(u'\f'); // each page ends in a form feed
    }

    std::unique_ptr<QTemporaryDir> dir;
    QString path;
    QString folder;
    RecordingProgress progress;
};

void TestExport::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"out"_s);
    folder = dir->filePath(u"a/out"_s);
    QGuiApplication::setFont(QFont(u"DejaVu Sans"_s)); // what fits on a page hangs on the font
}

void TestExport::aConversationIsOneFile()
{
    // Another conversation stands between the chats of the first, and its messages between theirs.
    Records records;
    _MsgChat *sms = &records.talk({person(u"+34611"_s, u"Ana"_s)}, u"ANN@x"_s).lastChat();
    _MsgChat *other = &records.talk({person(u"+34622"_s, u"Bo"_s)}, u"+34622"_s).lastChat();
    _MsgChat *blue = &records.talk({person(u"ann@x"_s, u"Ana"_s)}, u"ann@X"_s).lastChat();
    const QList<std::pair<QString, _MsgChat *>> told = {{u"one"_s, sms},    {u"two"_s, blue},
                                                        {u"else"_s, other}, {u"three"_s, sms},
                                                        {u"four"_s, blue},  {u"alone"_s, nullptr}};
    for (const auto &[text, chat] : told)
        records.received(text).last().chat = chat;
    QList<_MsgMessage *> messages = records.list();
    std::rotate(messages.begin(), messages.begin() + 1, messages.begin() + 4);

    for (const bool ascending : {true, false}) {
        QCOMPARE(exportMessages(messages, {folder, ExportHtml, ascending}, progress), 6);
        QCOMPARE(files(),
                 QStringList({u"Ana (+34611).html"_s, u"Bo (+34622).html"_s, u"unknown-chat.html"_s}));
        const QByteArray html = bytesOf(folder + u"/Ana (+34611).html"_s);
        QList<qsizetype> places;
        for (const QByteArray &text : {">one<"_ba, ">two<"_ba, ">three<"_ba, ">four<"_ba})
            places.append(html.indexOf(text));
        QVERIFY(!places.contains(-1));
        QVERIFY(ascending ? std::is_sorted(places.begin(), places.end())
                          : std::is_sorted(places.rbegin(), places.rend()));
        QVERIFY(!html.contains(">else<"));
        QVERIFY(QDir(folder).removeRecursively());
    }
}

void TestExport::fileNamesAreLegal()
{
    const QList<std::pair<QString, QString>> titles = {
        {u"../../a/b:c"_s, u"abc"_s},
        {u".profile"_s, u"profile"_s}, // would be hidden
        {u".."_s, u"Unknown"_s},
        {u"LPT1.x"_s, u"_LPT1.x"_s}, // a device
        {u"a\n/"_s + QChar(0xD83D) + u"/\x7f"_s + QChar(0), u"a"_s},
        {u'x' + u"😄"_s.repeated(60), u'x' + u"😄"_s.repeated(49)}};
    for (const auto &[title, expected] : titles) {
        _MsgChat chat;
        chat.display_name = title;
        QCOMPARE(conversationFileName(&chat), expected);
    }
}

void TestExport::equalNamesStayApart()
{
    Records records;
    for (const QString &title : {u"Dr. A/B"_s, u"Dr. A:B"_s, u"Dr. AB(1)"_s, u"Dr. AB"_s}) {
        records.talk({person(u"+34611"_s)}, title).lastChat().display_name = title;
        records.received(title);
    }
    const QList<_MsgMessage *> messages = records.list();
    exportMessages({messages.rbegin(), messages.rend()}, {folder, ExportHtml, false}, progress);
    const QByteArray first = bytesOf(folder + u"/Dr. AB.html"_s);
    QVERIFY(first.contains("Dr. A/B"));
    QVERIFY(bytesOf(folder + u"/Dr. AB(1).html"_s).contains("Dr. A:B"));
    QCOMPARE(files(), QStringList({u"Dr. AB(1)(1).html"_s, u"Dr. AB(1).html"_s, u"Dr. AB(2).html"_s,
                                   u"Dr. AB.html"_s}));
    exportMessages(messages.first(1), {folder, ExportHtml}, progress);
    QCOMPARE(files().size(), 5);
    QCOMPARE(bytesOf(folder + u"/Dr. AB.html"_s), first);
}

void TestExport::aFullDiskLeavesNoTornFile()
{
    Records records;
    records.chat(u"+34611"_s).received(u"x"_s).chat(u"+34622"_s);
    for (int i = 0; i < 5000; ++i)
        records.received(QString::number(i * 7919 % 5000));
    rlimit before = {};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_FSIZE, &before); });
    const rlimit small{60'000, before.rlim_max}; // no file grows beyond it, as on a full disk
    std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
    QStringList expected;
    for (const int format : {int(ExportHtml), int(ExportPdf)}) {
        expected.append(format == ExportHtml ? u"+34611.html"_s : u"+34611.pdf"_s);
        for (const auto afterFailure : {FinishedFiles::Stay, FinishedFiles::AreRemoved}) {
            const ExportPlan plan{folder, format, true, afterFailure};
            QVERIFY_EXCEPTION_THROWN(exportMessages(records.list(), plan, progress), std::runtime_error);
            QCOMPARE(files(), expected);
        }
    }
    QVERIFY(writeFile(path, "old"));
    for (const int format :
         {int(ExportFullTable), int(ExportXlsx), int(ExportJsonLines), int(ExportAndroidSms)}) {
        QVERIFY_EXCEPTION_THROWN(exported(records, format), std::runtime_error);
        QCOMPARE(bytesOf(path), "old"_ba);
    }
}

void TestExport::htmlIsEscapedAndValid()
{
    if (QStandardPaths::findExecutable(u"xmllint"_s).isEmpty())
        QSKIP("xmllint is not installed");
    Records records;
    records.talk({person(u"+34611"_s, u"]]><script>%1"_s)}).sent(u"a<b\r\nc & d %2 😄\re"_s);
    for (char16_t unit = 0; unit < 0x100; ++unit)
        records.received(QString(QChar(unit)) + u'x');
    for (const char16_t unit : {0xD83E, 0xDC00, 0xFDD0, 0xFFFE, 0xFFFF, 0x2028, 0x202E})
        records.received(u"half "_s + QChar(unit) + u"\nend"_s);
    records.received(u"🥸 whole, beside a half: "_s + QChar(0xDE00)).received(QString(1'000'000, u'<'));
    records.received(u"made up"_s).last().rowid = -2147483648;
    exportMessages(records.list(), {folder, ExportHtml}, progress);

    QProcess validator;
    validator.start(u"xmllint"_s, {u"--noout"_s, u"--valid"_s, u"--nonet"_s, u"--huge"_s,
                                   folder + u'/' + files().value(0)});
    QVERIFY(validator.waitForFinished());
    QVERIFY2(validator.exitCode() == 0, validator.readAllStandardError().constData());
    const QByteArray html = bytesOf(folder + u'/' + files().value(0));
    QCOMPARE(html.count("<a name="), records.list().size());
    QVERIFY(html.contains("<a name=\"sms1\"></a><div style=\"color:#008040;font-size:16px;\"><div>"));
    QVERIFY(html.contains("</div><div>To: ]]&gt;&lt;script&gt;%1 (+34611)</div></div><div "
                          "style=\"font-size:14px;\">a&lt;b<br/>c &amp; d %2 [EMOJI]<br/>e</div>"));
}

void TestExport::attachmentsStandBesideThePage()
{
    const QString picture = dir->filePath(u"original"_s);
    QVERIFY(QImage(2, 2, QImage::Format_RGB32).save(picture, "PNG"));
    const auto attached = [](const QString &name, const QString &file, qint64 bytes) {
        _MsgAttachment attachment;
        attachment.transfer_name = name;
        attachment.localFile = file;
        attachment.total_bytes = bytes;
        return attachment;
    };
    _MsgAttachment seen = attached(u"../a & b.png"_s, picture, 0);
    _MsgAttachment other = attached(u"A & B.png"_s, dir->filePath(u"other"_s), 0);
    QVERIFY(QFile::copy(picture, other.localFile.path()));
    _MsgAttachment gone = attached(u"gone.mov"_s, {}, 2'000'000);
    _MsgAttachment hidden = attached(u"hidden"_s, picture, 0);
    hidden.hide_attachment = 1;
    Records records;
    records.chat(u"+34611"_s).received(u"x"_s).received(u"x"_s);
    for (_MsgMessage *message : records.list())
        message->attachments = {{u"1"_s, &seen}, {u"2"_s, &other}, {u"3"_s, &gone}, {u"4"_s, &hidden}};
    exportMessages(records.list(), {folder, ExportHtml}, progress);

    const QDir copies(folder + u"/files/attachments"_s);
    QCOMPARE(copies.entryList(QDir::Files), QStringList({u"A & B.png"_s, u"a & b.png"_s}));
    QCOMPARE(bytesOf(copies.filePath(u"a & b.png"_s)), bytesOf(picture));
    const QByteArray html = bytesOf(folder + u'/' + files().value(0));
    QCOMPARE(html.count("<img src=\"files/attachments/a%20%26%20b.png\""), 2);
    QVERIFY(html.contains("gone.mov, 2.0 MB, not in the backup"));
    // Where the message tells its places, words stand between the files.
    _MsgMessage &last = records.last();
    last.text = u"\uFFFCwords"_s;
    gone.guid = u"01234567-89AB-CDEF-0123-456789ABCDEF"_s;
    last.attributedBody = attachmentBody(gone.guid);
    last.extras = new MessageExtras;
    last.extras->hasPartOrder = true;
    folder += u"-parts"_s;
    exportMessages(records.list(), {folder, ExportHtml}, progress);
    const QByteArray ordered = bytesOf(folder + u'/' + files().value(0)).split('\n').value(1);
    const QList<qsizetype> places = {ordered.indexOf("gone.mov"), ordered.indexOf("<div>words</div>"),
                                     ordered.indexOf("a%20%26%20b.png")};
    QVERIFY2(places[0] > 0 && places[0] < places[1] && places[1] < places[2], ordered.constData());
    folder += u"-pdf"_s;
    const QString pdf = pdfPages(records).join(QString());
    QVERIFY2(pdf.contains(u"a & b.png"_s) && pdf.contains(u"gone.mov, 2.0 MB"_s), qPrintable(pdf));
}

void TestExport::pdfTextIsFound()
{
    if (QStandardPaths::findExecutable(u"pdftotext"_s).isEmpty())
        QSKIP("pdftotext is not installed");
    Records records;
    records.talk({person(u"+34611"_s, u"Ana <b> "_s + u"name "_s.repeated(1000))});
    records.received(u"Find the coffee office,\r\nfluffy <i>& co</i> Наталья %1"_s);
    const int date = records.last().date;
    const QString longWord = u"0123456789"_s.repeated(40);
    records.received(longWord);
    QStringList lines = pdfPages(records).join(u'\n').split(u'\n', Qt::SkipEmptyParts);
    for (QString &line : lines)
        line = line.simplified();
    const QString text = lines.join(u'\n');
    const QString start = QLocale::system().toString(appleDateTime(date), QLocale::ShortFormat) +
                          u"\nFrom: Ana <b> name name "_s;
    QVERIFY2(text.startsWith(start), qUtf8Printable(text));
    QVERIFY2(text.contains(u"…\nFind the coffee office,\nfluffy <i>& co</i> Наталья %1\n"_s),
             "a long title leaves room");
    QVERIFY2(lines.join(QString()).contains(longWord), "a word that is longer than a line is cut");
}

void TestExport::pdfMessagesMoveWholeToTheNextPage()
{
    if (QStandardPaths::findExecutable(u"pdftotext"_s).isEmpty())
        QSKIP("pdftotext is not installed");
    Records records;
    records.chat(u"+34611"_s);
    for (int i = 0; i < 6; ++i)
        records.received(u"m%1 line\n"_s.arg(i).repeated(14));
    const QStringList pages = pdfPages(records);
    // Two messages fit on a page, a third doesn't.
    QCOMPARE(pages.size(), 4); // nothing stands after the last form feed
    for (int page = 0; page < 3; ++page) {
        QCOMPARE(pages.at(page).trimmed().section(u'\n', -1).trimmed(), QString::number(page + 1));
        for (const int message : {page * 2, page * 2 + 1})
            QCOMPARE(pages.at(page).count(u"m%1 line"_s.arg(message)), 14);
    }
}

void TestExport::pdfRunsOnWhereAMessageIsTallerThanAPage()
{
    if (QStandardPaths::findExecutable(u"pdftotext"_s).isEmpty())
        QSKIP("pdftotext is not installed");
    QStringList words;
    for (int i = 0; i < 6000; ++i)
        words.append(u"w%1"_s.arg(i));
    const Records records = Records().chat(u"+34611"_s).received(words.join(u' ')).received(u"after"_s);
    QStringList pages = pdfPages(records);
    QVERIFY(pages.first().contains(u"w0 "_s));
    for (QString &page : pages)
        page = page.simplified().section(u' ', 0, -2); // without its number
    QStringList found = pages.join(u' ').split(u' ', Qt::SkipEmptyParts);
    QCOMPARE(found.takeLast(), u"after"_s);
    QCOMPARE(found.filter(u"w"_s), words);
}

void TestExport::pdfDrawsEmojiInColours()
{
    const bool hasFont = !QFontDatabase::families().filter(u"Color Emoji"_s).isEmpty();
    if (!hasFont || QStandardPaths::findExecutable(u"pdfimages"_s).isEmpty())
        QSKIP("pdfimages or a font of emoji is not installed");
    // A skin tone, a family, two flags, a heart on fire, a keycap; then signs that fonts of text have.
    const Records records =
        Records()
            .chat(u"+34611"_s)
            .received(u"a👍🏽b👨‍👩‍👧c🇪🇸🇫🇷❤️‍🔥1️⃣ 1 © → ☎︎"_s);
    const QList<QByteArray> rows = readFromPdf(records, u"pdfimages"_s, {u"-list"_s, u"FILE"_s}).split('\n');
    QSet<QByteArray> pictures;
    for (const QByteArray &row : rows)
        if (row.contains(" image "))
            pictures.insert(row.simplified().split(' ').value(10));
    QCOMPARE(pictures.size(), 6);
    QVERIFY(QDir(folder).removeRecursively());
    Records named;
    named.talk({person(u"+34622"_s, u"Ann 👨‍👩‍👧"_s)});
    const QByteArray page = readFromPdf(named.received(u"x"_s), u"pdftotext"_s, {u"FILE"_s, u"-"_s});
    QVERIFY2(page.contains("(+34622)"), "a name with a picture is not cut");
}

void TestExport::pdfTextFromRightToLeftKeepsItsPlace()
{
    if (QStandardPaths::findExecutable(u"pdftotext"_s).isEmpty())
        QSKIP("pdftotext is not installed");
    Records records;
    records.talk({person(u"+34611"_s, u"דנה לוי"_s), person(u"+34622"_s, u"רון"_s)});
    records.received(u"שלום 12\rleft"_s).received({}).last().item_type = 3;
    const QString words =
        QString::fromUtf8(readFromPdf(records, u"pdftotext"_s, {u"-bbox"_s, u"FILE"_s, u"-"_s}));
    const auto leftOf = [&](const QString &word) {
        const QRegularExpression box(u"xMin=\"([0-9.]+)\"[^>]*>"_s + QRegularExpression::escape(word) + u'<');
        return box.match(words).captured(1).toDouble();
    };
    QVERIFY(leftOf(u"From:"_s) < leftOf(u"ד"_s) && leftOf(u"ד"_s) < leftOf(u"(+34611),"_s));
    QVERIFY(leftOf(u"(+34611),"_s) < leftOf(u"(+34622)"_s));
    QVERIFY2(leftOf(u"12"_s) > 400, "a line from right to left stands at the right");
    const QString date = QLocale::system().toString(appleDateTime(records.last().date), QLocale::ShortFormat);
    QCOMPARE(words.count(u'>' + date.section(u' ', -1) + u'<'), 2); // above the event and in its sentence
    QVERIFY2(leftOf(u"left"_s) > 0 && leftOf(u"left"_s) < 50, "a carriage return ends a line");
}

void TestExport::csvFields()
{
    const _MsgHandle ana = person(u"+1"_s, u"Ana"_s);
    const QList<std::tuple<QList<_MsgHandle>, QString, QByteArray>> rows = {
        {{person(u"+1"_s, u"Berg, Ana"_s)}, u"a,b"_s, "\"Berg, Ana\",+1,\"a,b\""},
        {{ana}, u"\"😄\""_s, "Ana,+1,\"\"\"[EMOJI]\"\"\""},
        {{ana}, u"a\nb"_s, "Ana,+1,\"a\nb\""},
        {{ana}, u"a\rb"_s, "Ana,+1,a\rb"},
        {{ana, person(u"+2"_s, u"Bo"_s)}, u"x"_s, "chat1,chat1,x"},
        {{}, u"x"_s, ",,x"}};
    for (const auto &[people, text, fields] : rows) {
        const QByteArray content = exported(Records().talk(people).sent(text), ExportCsv);
        QVERIFY2(content.endsWith(QByteArray(",1," + fields + "\n")), content.constData());
    }
}

void TestExport::csvHasHeaderDateAndDirection()
{
    Records records;
    records.chat(u"+34611"_s).received(u"in"_s).last().date = 0;
    records.sent(u"out"_s).last().date = 393940800; // summer time
    QCOMPARE(exported(records, ExportCsv), "date,send,person,number,content\n"
                                           "2001-01-01 01:00:00,0,+34611,+34611,in\n"
                                           "2013-06-26 14:00:00,1,+34611,+34611,out\n"_ba);
}

void TestExport::textHasColumnsAndALineForEachMessage()
{
    Records records;
    records.talk({person(u"+34611"_s, u"Ana\nBerg"_s)}).received(u"a\r\nb\nc\rd"_s).sent(u"Sí"_s);
    records.received({}).last().item_type = 3;
    records.received(u"x"_s).last().chat = nullptr;
    const QStringList lines = QString::fromUtf8(exported(records, ExportText)).split(u'\n');
    QCOMPARE(lines.size(), 6);
    QCOMPARE(lines.at(0),
             u"Date"_s.leftJustified(30) + u"Flag  "_s + u"Name"_s.leftJustified(40) + u"Message"_s);
    const QDateTime time = appleDateTime(records.list().first()->date);
    const QString date = QLocale::system().toString(time, QLocale::ShortFormat).leftJustified(30);
    const QString name = u"Ana Berg (+34611)"_s.leftJustified(40);
    QCOMPARE(lines.at(1), date + u"From  "_s + name + u"a b c d"_s);
    QCOMPARE(lines.at(2).mid(30), u"To    "_s + name + u"Sí"_s);
    const QString event =
        QString(6, u' ') + u"Ana Berg"_s.leftJustified(40) + u"Ana Berg left the conversation. "_s;
    QVERIFY2(lines.at(3).mid(30).startsWith(event), qUtf8Printable(lines.at(3)));
    QCOMPARE(lines.at(4).mid(36), u"Unknown"_s.leftJustified(40) + u"x"_s);
}

void TestExport::datesAreThoseOfQt()
{
    QRandomGenerator random(7);
    LocalDateText dates;
    for (int i = 0; i < 20000; ++i) {
        // Both neighbours, so that a change of the clock between them shows.
        const int date = int(random.bounded(4'000'000'000u) - 2'000'000'000LL);
        for (const int near : {date, date + 1}) {
            const QDateTime time = appleDateTime(near);
            QCOMPARE(dates.iso(near), time.toString(u"yyyy-MM-dd hh:mm:ss"_s));
            QCOMPARE(dates.systemShort(near), QLocale::system().toString(time, QLocale::ShortFormat));
        }
    }
}

void TestExport::emojiStayWhereThePlanSaysSo()
{
    const Records records = Records().talk({}).received(u"a😄"_s);
    for (const int format : {int(ExportText), int(ExportCsv), int(ExportHtml)}) {
        const ExportPlan plan{path + QString::number(format), format, true, {}, EmojiStyle::Characters};
        exportMessages(records.list(), plan, progress);
        const QString file = format == ExportHtml ? plan.path + u"/Unknown.html"_s : plan.path;
        QVERIFY2(bytesOf(file).contains("a😄"), qUtf8Printable(file));
    }
}

void TestExport::aCancelledExportLeavesNothing()
{
    const Records records = Records().talk({}).received(u"x"_s);
    const QByteArray old = exported(records, ExportText);
    for (const int format : {int(ExportText), int(ExportCsv), int(ExportHtml), int(ExportPdf)}) {
        const bool toFile = format == ExportText || format == ExportCsv;
        const ExportPlan plan{toFile ? path : dir->filePath(u"a/b"_s), format, true,
                              FinishedFiles::AreRemoved};
        RecordingProgress cancelling;
        cancelling.actAtUpdate = 1;
        QVERIFY_EXCEPTION_THROWN(exportMessages(records.list(), plan, cancelling), int);
        QCOMPARE(bytesOf(path), old);
        QCOMPARE(QDir(dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{u"out"_s});
    }
}

QTEST_MAIN(TestExport)
#include "testexport.moc"
