#include "conversation.h"
#include "exportsmsthread.h"
#include "localdatetext.h"
#include "messagestore.h"
#include "texts.h"

#include <QLocale>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

class TestExport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void csvQuotesFields_data();
    void csvQuotesFields();
    void csvNamesThePartner_data();
    void csvNamesThePartner();
    void csvHasHeaderDateAndDirection();
    void textHasColumns();
    void textKeepsAMessageOnItsLine();
    void textNamesEventsByTheirChat();
    void messagesWithoutChatAreExported();
    void datesAreThoseOfQt();
    void anEmptyListMakesNoFile();
    void unknownFormatsAreRefused();
    void failuresKeepTheOldFile_data();
    void failuresKeepTheOldFile();
    void aCancelledJobKeepsTheOldFile();
    void theJobReportsItsEnd();

private:
    std::unique_ptr<QTemporaryDir> dir;
    QString path;
};

void TestExport::init()
{
    dir = std::make_unique<QTemporaryDir>();
    path = dir->filePath(u"out"_s);
}

void TestExport::csvQuotesFields_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("field");
    QTest::newRow("plain") << u"Hola"_s << "Hola"_ba;
    QTest::newRow("comma") << u"a,b"_s << "\"a,b\""_ba;
    QTest::newRow("quotes are doubled") << u"say \"x\""_s << "\"say \"\"x\"\"\""_ba;
    QTest::newRow("line feed") << u"a\nb"_s << "\"a\nb\""_ba;
    QTest::newRow("a carriage return alone") << u"a\rb"_s << "a\rb"_ba;
    QTest::newRow("emoji become words") << u"a 😄"_s << "a [EMOJI]"_ba;
    QTest::newRow("other scripts") << u"שלום"_s << "שלום"_ba;
    QTest::newRow("empty") << QString() << ""_ba;
}

void TestExport::csvQuotesFields()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, field);
    Conversation conversation({person(u"+34612345678"_s)});
    conversation.add(text);
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportCsv}, progress);
    const QByteArray content = contentOf(path);
    QVERIFY2(content.endsWith(QByteArray(",+34612345678,+34612345678," + field + "\n")), content.constData());
}

void TestExport::csvNamesThePartner_data()
{
    QTest::addColumn<QList<QStringList>>("members"); // address and name
    QTest::addColumn<QByteArray>("fields");
    using Members = QList<QStringList>;
    QTest::newRow("contact") << Members{{u"+34611"_s, u"Ana"_s}} << "Ana,+34611"_ba;
    QTest::newRow("no name known") << Members{{u"+34611"_s, QString()}} << "+34611,+34611"_ba;
    QTest::newRow("name with a comma") << Members{{u"+34611"_s, u"Berg, Ana"_s}} << "\"Berg, Ana\",+34611"_ba;
    QTest::newRow("group") << Members{{u"a@b"_s, u"Ana"_s}, {u"c@d"_s, u"Bo"_s}} << "chat1,chat1"_ba;
    QTest::newRow("nobody") << Members{} << ","_ba;
}

void TestExport::csvNamesThePartner()
{
    QFETCH(QList<QStringList>, members);
    QFETCH(QByteArray, fields);
    QList<_MsgHandle> people;
    for (const QStringList &member : std::as_const(members))
        people.append(person(member.at(0), member.at(1)));
    Conversation conversation(people);
    conversation.add(u"x"_s, true);
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportCsv}, progress);
    const QByteArray content = contentOf(path);
    QVERIFY2(content.endsWith(QByteArray(",1," + fields + ",x\n")), content.constData());
}

void TestExport::csvHasHeaderDateAndDirection()
{
    Conversation conversation({person(u"+34611"_s)});
    conversation.add(u"in"_s).date = 0;
    conversation.add(u"out"_s, true).date = 393940800; // summer time
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportCsv}, progress);
    QCOMPARE(contentOf(path), "date,send,person,number,content\n"
                              "2001-01-01 01:00:00,0,+34611,+34611,in\n"
                              "2013-06-26 14:00:00,1,+34611,+34611,out\n"_ba);
}

void TestExport::textHasColumns()
{
    Conversation conversation({person(u"+34611"_s, u"Ana"_s)});
    conversation.add(u"Hola"_s);
    conversation.add(u"Sí"_s, true);
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportText}, progress);
    const QStringList lines = QString::fromUtf8(contentOf(path)).split(u'\n');
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines.at(0),
             u"Date"_s.leftJustified(30) + u"Flag  "_s + u"Name"_s.leftJustified(40) + u"Message"_s);
    const QString date =
        QLocale::system().toString(appleDateTime(conversation.messages[0]->date), QLocale::ShortFormat);
    QCOMPARE(lines.at(1),
             date.leftJustified(30) + u"From  "_s + u"Ana (+34611)"_s.leftJustified(40) + u"Hola"_s);
    QCOMPARE(lines.at(2).mid(30), u"To    "_s + u"Ana (+34611)"_s.leftJustified(40) + u"Sí"_s);
}

void TestExport::textKeepsAMessageOnItsLine()
{
    Conversation conversation({person(u"+34611"_s, u"Ana\nBerg"_s)});
    conversation.add(u"a\r\nb\nc"_s);
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportText}, progress);
    const QByteArray content = contentOf(path);
    QCOMPARE(content.count('\n'), 2);
    QVERIFY(content.contains("Ana Berg") && content.endsWith("a b c\n"));
}

void TestExport::textNamesEventsByTheirChat()
{
    Conversation conversation({person(u"+34611"_s, u"Ana"_s), person(u"+34622"_s, u"Bo"_s)});
    conversation.add({}).item_type = 3;
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportText}, progress);
    const QString line = QString::fromUtf8(contentOf(path)).split(u'\n').at(1);
    QCOMPARE(line.mid(30, 46), QString(6, u' ') + u"Ana, Bo"_s.leftJustified(40));
    QVERIFY(line.mid(76).startsWith(u"Ana left the conversation. "_s));
}

void TestExport::messagesWithoutChatAreExported()
{
    Conversation conversation({});
    conversation.add(u"x"_s).chat = nullptr;
    SilentProgress progress;
    exportMessages(conversation.all(), {path, ExportText}, progress);
    QCOMPARE(QString::fromUtf8(contentOf(path)).split(u'\n').at(1).mid(36),
             u"Unknown"_s.leftJustified(40) + u"x"_s);
    exportMessages(conversation.all(), {path, ExportCsv}, progress);
    QVERIFY(contentOf(path).endsWith(",0,,,x\n"));
}

void TestExport::datesAreThoseOfQt()
{
    QRandomGenerator random(7);
    LocalDateText dates;
    for (int i = 0; i < 20000; ++i) {
        // Both neighbours, so that a change of the clock between them shows.
        const int date = int(random.bounded(-2'000'000'000, 2'000'000'000));
        for (const int near : {date, date + 1}) {
            const QDateTime time = appleDateTime(near);
            QCOMPARE(dates.iso(near), time.toString(u"yyyy-MM-dd hh:mm:ss"_s));
            QCOMPARE(dates.systemShort(near), QLocale::system().toString(time, QLocale::ShortFormat));
        }
    }
}

void TestExport::anEmptyListMakesNoFile()
{
    SilentProgress progress;
    QCOMPARE(exportMessages({}, {path, ExportCsv}, progress), 0);
    QVERIFY(!QFile::exists(path));
}

void TestExport::unknownFormatsAreRefused()
{
    Conversation conversation({});
    conversation.add(u"x"_s);
    SilentProgress progress;
    ExportSMSThread job(conversation.all(), path, 9, true, &progress, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(progress.error, u"not support export format."_s);
}

void TestExport::failuresKeepTheOldFile_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("no such folder") << u"missing/out.csv"_s;
    QTest::newRow("a folder in its place") << u"."_s;
}

void TestExport::failuresKeepTheOldFile()
{
    QFETCH(QString, target);
    Conversation conversation({});
    conversation.add(u"x"_s);
    SilentProgress progress;
    try {
        exportMessages(conversation.all(), {dir->filePath(target), ExportCsv}, progress);
        QFAIL("no error");
    } catch (const std::runtime_error &error) {
        QVERIFY2(QString::fromUtf8(error.what()).contains(dir->path()), error.what());
    }
    QVERIFY(QDir(dir->path()).isEmpty());
}

void TestExport::aCancelledJobKeepsTheOldFile()
{
    QFile old(path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    Conversation conversation({});
    for (int i = 0; i < 1000; ++i)
        conversation.add(u"x"_s);
    SilentProgress progress;
    progress.cancelAfterReports = 0;
    ExportSMSThread job(conversation.all(), path, ExportCsv, true, &progress, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(contentOf(path), "old"_ba);
    QVERIFY(progress.success.isEmpty() && progress.error.isEmpty());
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files).size(), 1);
}

void TestExport::theJobReportsItsEnd()
{
    QTranslator translator;
    installTexts(translator);
    Conversation conversation({});
    conversation.add(u"x"_s);
    conversation.add(u"y"_s);
    SilentProgress progress;
    ExportSMSThread job(conversation.all(), path, ExportText, true, &progress, nullptr);
    job.start();
    QVERIFY(job.wait());
    QCOMPARE(progress.success, u"Successfully exported 2 SMS."_s);
    QCOMPARE(progress.lastPercent, 100);
}

QTEST_GUILESS_MAIN(TestExport)
#include "testexport.moc"
