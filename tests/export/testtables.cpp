#include "export/exportmessages.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The formats that hold all that is known of a message, read back by programs that aren't ours.
class TestTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyFormatTellsAll_data();
    void everyFormatTellsAll();
    void theSameMessagesGiveTheSameBytes();
    void noCellIsAFormula();
    void aWorkbookHasRealDatesAndWholeTexts();
    void androidGetsOneElementAMessage();
    void aCancelLeavesTheOldFile();

private:
    QString written(const QList<_MsgMessage *> &messages, int format)
    {
        ExportPlan plan{path, format};
        plan.utf8Mark = mark;
        exportMessages(messages, plan, progress);
        return path;
    }
    static QString run(const QString &program, const QStringList &words)
    {
        QProcess process;
        process.start(program, words);
        if (!process.waitForFinished() || process.exitCode() != 0)
            return u"failed: "_s + QString::fromUtf8(process.readAllStandardError());
        return QString::fromUtf8(process.readAllStandardOutput());
    }
    /// What SQLite's shell makes of the table, one row a line.
    QString fromCsv(const QString &columns) const
    {
        return run(u"sqlite3"_s, {u":memory:"_s, u"-cmd"_s, u".import --csv %1 t"_s.arg(path),
                                  u"select %1 from t"_s.arg(columns)});
    }
    QString sheet(int number, const QString &xpath) const
    {
        const QString part = dir->filePath(u"sheet.xml"_s);
        QProcess unzip;
        unzip.setStandardOutputFile(part);
        unzip.start(u"unzip"_s, {u"-p"_s, path, u"xl/worksheets/sheet%1.xml"_s.arg(number)});
        unzip.waitForFinished();
        return run(u"xmllint"_s, {u"--xpath"_s, xpath, part}).trimmed();
    }
    /// One message with everything.
    Records rich();

    std::unique_ptr<QTemporaryDir> dir;
    QString path;
    Utf8Mark mark = Utf8Mark::LeftOut;
    RecordingProgress progress;
};

void TestTables::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"out"_s);
    mark = Utf8Mark::LeftOut;
}

Records TestTables::rich()
{
    Records records;
    records.talk({person(u"+34611"_s, u"Ana \"A\" <b>"_s), person(u"bo@example.org"_s)}, u"chat9"_s,
                 u"iMessage"_s);
    records.received(u"Línea, 1\n😄 ]]>"_s);
    _MsgMessage &message = records.last();
    message.subject = u"Subject & co"_s;
    message.account = u"e:me@example.org"_s;
    message.date = 393940800; // 2013-06-26 14:00:00 in Madrid
    message.date_read = message.date + 61;
    MessageExtras &extras = ownExtras(message);
    extras.thread_originator_guid = u"THE-ANSWERED"_s;
    extras.expressive_send_style_id = u"com.apple.messages.effect.CKLasersEffect"_s;
    extras.date_edited = message.date + 120;
    extras.edits = {{0, message.date, u"First words"_s}, {0, message.date + 120, u"Línea, 1"_s}};
    extras.delete_date = message.date + 180;
    MessageReaction love;
    love.associated_message_type = 2000;
    love.date = message.date + 240;
    love.handle = message.handle;
    extras.reactions = {love};
    const QString file = dir->filePath(u"a.jpg"_s);
    writeFile(file, "abc");
    records.attachment(u"~/Library/SMS/Attachments/a.jpg"_s, file);
    records.attachment(u"~/Library/SMS/Attachments/gone.mov"_s);
    return records;
}

void TestTables::everyFormatTellsAll_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("CSV") << int(ExportFullTable);
    QTest::newRow("workbook") << int(ExportXlsx);
    QTest::newRow("JSON Lines") << int(ExportJsonLines);
    QTest::newRow("Android") << int(ExportAndroidSms);
}

void TestTables::everyFormatTellsAll()
{
    QFETCH(int, format);
    const Records records = rich();
    written(records.list(), format);
    QString text;
    if (format == ExportFullTable)
        text = fromCsv(u"*"_s);
    else if (format == ExportXlsx)
        text = sheet(1, u"string(/)"_s) + sheet(2, u"string(/)"_s) + sheet(3, u"string(/)"_s);
    else if (format == ExportAndroidSms)
        text = run(u"xmllint"_s, {u"--noout"_s, path}) + QString::fromUtf8(bytesOf(path))
                                                             .replace(u"&#60;"_s, u"<"_s)
                                                             .replace(u"&#62;"_s, u">"_s)
                                                             .replace(u"&#38;"_s, u"&"_s)
                                                             .replace(u"&#34;"_s, u"\""_s);
    else
        text = QString::fromUtf8(bytesOf(path)).replace(u"\\\""_s, u"\""_s);
    QStringList expected = {u"+34611"_s,        u"bo@example.org"_s, u"me@example.org"_s,
                            u"Ana \"A\" <b>"_s, u"Subject & co"_s,   u"Línea, 1"_s,
                            u"]]>"_s,           u"First words"_s,    u"a.jpg"_s,
                            u"gone.mov"_s};
    if (format == ExportAndroidSms)
        expected += {u"YWJj"_s, u"2013-06-26T14:00:00+02:00"_s}; // "abc" in Base64
    else
        expected += {u"THE-ANSWERED"_s,
                     u"😄"_s,
                     u"LASERS"_s,
                     u"love"_s,
                     u"not in the backup"_s,
                     u"A-1"_s,
                     u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s};
    if (format == ExportFullTable)
        expected +=
            {u"2013-06-26T14:00:00+02:00"_s, u"2013-06-26T14:01:01+02:00"_s, u"2013-06-26T14:02:00+02:00"_s,
             u"2013-06-26T14:03:00+02:00"_s, u"2013-06-26T14:04:00+02:00"_s};
    for (const QString &words : std::as_const(expected))
        QVERIFY2(text.contains(words), qPrintable(words + u" in "_s + text));
}

void TestTables::theSameMessagesGiveTheSameBytes()
{
    const Records records = rich();
    for (const int format :
         {int(ExportFullTable), int(ExportXlsx), int(ExportJsonLines), int(ExportAndroidSms)}) {
        const QByteArray first = bytesOf(written(records.list(), format));
        QTest::qWait(format == ExportXlsx ? 2100 : 0); // a date in a zip file has two seconds
        QCOMPARE(bytesOf(written(records.list(), format)), first);
    }
}

void TestTables::noCellIsAFormula()
{
    const QStringList texts = {u"=1+1"_s, u"+1"_s, u"-1"_s, u"@a"_s, u"\t=1"_s, u" =1"_s, u"＝1"_s};
    Records records;
    records.talk({person(u"+34611"_s, u"=cmd|' /C calc'!A0"_s)});
    for (const QString &text : texts)
        records.received(text);
    mark = Utf8Mark::Written;
    written(records.list(), ExportFullTable);
    QVERIFY(bytesOf(path).startsWith("\xEF\xBB\xBFrowid,date,"));
    const QString cells = fromCsv(u"body||'|'||sender_address||'|'||sender_name"_s);
    for (const QString &text : texts)
        QVERIFY2(cells.contains(u'\'' + text + u"|'+34611|'=cmd"_s), qPrintable(text + u" in "_s + cells));

    written(records.list(), ExportXlsx);
    QCOMPARE(sheet(1, u"count(//*[local-name()='f'])"_s), u"0"_s);
    QVERIFY(sheet(1, u"string(/)"_s).contains(u"=cmd|' /C calc'!A0"_s));
}

void TestTables::aWorkbookHasRealDatesAndWholeTexts()
{
    Records records;
    const QString longText = QString(u"😄"_s).repeated(40'000) + u" end"_s;
    records.chat(u"+34611"_s).received(u"_x0041_ \u0001"_s).last().date = 393940800;
    records.received(longText);
    written(records.list(), ExportXlsx);
    // Day 41451 since 1899-12-30, 14 hours
    QCOMPARE(sheet(1, u"string(//*[@r='B2'])"_s).left(14), u"41451.58333333"_s);
    QCOMPARE(sheet(1, u"string(//*[@r='C2'])"_s), u"+02:00"_s);
    const QString all = sheet(1, u"string(/)"_s);
    QVERIFY(all.contains(u"_x005F_x0041_ "_s));
    QCOMPARE(all.count(u"😄"_s), 3 * 40'000); // as text, part and body
    QCOMPARE(all.count(u" end"_s), 3);
    QVERIFY(run(u"unzip"_s, {u"-t"_s, path}).contains(u"No errors"_s));
}

void TestTables::androidGetsOneElementAMessage()
{
    Records records = rich();
    records.chat(u"+34622"_s).sent(u"a\u0001b\n\"c\""_s);
    records.received({}).last().item_type = 1;
    written(records.list(), ExportAndroidSms);
    const auto found = [this](const QString &xpath) {
        return run(u"xmllint"_s, {u"--xpath"_s, xpath, path}).trimmed();
    };
    QCOMPARE(found(u"concat(/smses/@count,count(/smses/sms),count(/smses/mms))"_s), u"211"_s);
    QCOMPARE(found(u"string(//sms/@body)"_s), u"a\uFFFDb\n\"c\""_s);
    QCOMPARE(found(u"concat(//sms/@type,//sms/@address,'|',//mms/@date)"_s), u"2+34622|1372248000000"_s);
    QCOMPARE(found(u"concat(//addr[@type=137]/@address,'|',count(//addr[@type=151]))"_s), u"+34611|2"_s);
    QVERIFY(found(u"string(/comment())"_s).contains(u"1 events of conversations, 1 attachments"_s));
}

void TestTables::aCancelLeavesTheOldFile()
{
    const Records records = rich();
    for (const int format :
         {int(ExportFullTable), int(ExportXlsx), int(ExportJsonLines), int(ExportAndroidSms)}) {
        QVERIFY(writeFile(path, "old"));
        RecordingProgress cancelling;
        cancelling.actAtUpdate = 1;
        QVERIFY_EXCEPTION_THROWN(exportMessages(records.list(), {path, format}, cancelling), int);
        QCOMPARE(bytesOf(path), "old"_ba);
        QCOMPARE(QDir(dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({u"a.jpg"_s, u"out"_s}));
    }
}

QTEST_GUILESS_MAIN(TestTables)
#include "testtables.moc"
