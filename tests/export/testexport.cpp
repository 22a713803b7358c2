#include "exportsmsthread.h"
#include "localdatetext.h"
#include "messagestore.h"
#include "records.h"
#include "testtools.h"

#include <QLocale>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestExport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void csvFields();
    void csvHasHeaderDateAndDirection();
    void textHasColumnsAndALineForEachMessage();
    void datesAreThoseOfQt();
    void emojiStayWhereThePlanSaysSo();
    void aCancelledExportLeavesNothing();

private:
    QByteArray exported(const Records &records, int format)
    {
        RecordingProgress progress;
        exportMessages(records.list(), {path, format}, progress);
        return bytesOf(path);
    }

    QTemporaryDir dir;
    QString path = dir.filePath(u"out"_s);
};

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
    records.talk({person(u"+34611"_s, u"Ana\nBerg"_s)}).received(u"a\r\nb\nc"_s).sent(u"Sí"_s);
    records.received({}).last().item_type = 3;
    records.received(u"x"_s).last().chat = nullptr;
    const QStringList lines = QString::fromUtf8(exported(records, ExportText)).split(u'\n');
    QCOMPARE(lines.size(), 6);
    QCOMPARE(lines.at(0),
             u"Date"_s.leftJustified(30) + u"Flag  "_s + u"Name"_s.leftJustified(40) + u"Message"_s);
    const QDateTime time = appleDateTime(records.list().first()->date);
    const QString date = QLocale::system().toString(time, QLocale::ShortFormat).leftJustified(30);
    const QString name = u"Ana Berg (+34611)"_s.leftJustified(40);
    QCOMPARE(lines.at(1), date + u"From  "_s + name + u"a b c"_s);
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
    RecordingProgress progress;
    const QTemporaryDir folder;
    for (const int format : {int(ExportText), int(ExportCsv), int(ExportHtml)}) {
        const ExportPlan plan{
            folder.filePath(QString::number(format)), format, true, {}, EmojiStyle::Characters};
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
        const ExportPlan plan{toFile ? path : dir.filePath(u"a/b"_s), format, true,
                              FinishedFiles::AreRemoved};
        RecordingProgress progress;
        progress.actAtUpdate = 1;
        QVERIFY_EXCEPTION_THROWN(exportMessages(records.list(), plan, progress), int);
        QCOMPARE(bytesOf(path), old);
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{u"out"_s});
    }
}

QTEST_MAIN(TestExport)
#include "testexport.moc"
