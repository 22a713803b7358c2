#include "participants.h"
#include "plistvalue.h"
#include "sampleplist.h"

#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

// A binary property list of these objects, with offsets of four bytes and references of one.
QByteArray binaryList(const QList<QByteArray> &objects, quint8 root = 0)
{
    const auto bigEndian = [](auto value) {
        value = qToBigEndian(value);
        return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
    };
    QByteArray list = "bplist00";
    QByteArray offsets;
    for (const QByteArray &object : objects) {
        offsets += bigEndian(quint32(list.size()));
        list += object;
    }
    const quint64 table = quint64(list.size());
    return list + offsets + QByteArray(6, '\0') + "\x04\x01" + bigEndian(quint64(objects.size())) +
           bigEndian(quint64(root)) + bigEndian(table);
}

// Arrays, each of which holds the next one `copies` times; the last holds nothing.
QByteArray nestedLists(int levels, int copies)
{
    QList<QByteArray> objects;
    for (int level = 1; level < levels; ++level)
        objects.append(QByteArray(1, char(0xA0 | copies)) + QByteArray(copies, char(level)));
    objects.append("\xA0");
    return binaryList(objects);
}

QByteArray nestedXml(int levels)
{
    return "<plist version=\"1.0\">" + QByteArray("<array>").repeated(levels) +
           QByteArray("</array>").repeated(levels) + "</plist>";
}

SamplePlist sampleDocument()
{
    SamplePlist inner = SamplePlist::array();
    inner.append(u"one"_s);
    inner.append(u"zwölf"_s);
    SamplePlist document = SamplePlist::dictionary();
    document.set("text", u"Größe 😄"_s);
    document.set("yes", true);
    document.set("number", qint64(42));
    document.set("data", QByteArray("a\0b", 3));
    document.set("date", QDateTime(QDate(2012, 5, 4), QTime(3, 2, 1), Qt::UTC));
    document.set("list", inner);
    return document;
}

} // namespace

class TestPlistValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsBothForms_data();
    void readsBothForms();
    void otherKindsReadAsDefaults();
    void entriesOutliveTheirDocument();
    void microsecondsCountAsMilliseconds();
    void refuses_data();
    void refuses();
    void everyShorterPrefixIsSurvived();
    void nestingThatPhonesUseIsFine();
    void participants_data();
    void participants();
};

void TestPlistValue::readsBothForms_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("binary") << sampleDocument().toBinary();
    QTest::newRow("XML") << sampleDocument().toXml();
}

void TestPlistValue::readsBothForms()
{
    QFETCH(QByteArray, data);
    const PlistValue root = PlistValue::parse(data, true);
    QVERIFY(root.isDictionary());
    QCOMPARE(root.size(), 6u);
    QCOMPARE(root.value(u"text"_s).toString(), u"Größe 😄"_s);
    QCOMPARE(root.value(u"yes"_s).toBool(), true);
    QCOMPARE(root.value(u"number"_s).toInt(), 42);
    QCOMPARE(root.value(u"data"_s).toByteArray(), QByteArray("a\0b", 3));
    QCOMPARE(root.value(u"date"_s).toDateTime(), QDateTime(QDate(2012, 5, 4), QTime(3, 2, 1), Qt::UTC));
    const PlistValue list = root.value(u"list"_s);
    QVERIFY(list.isArray());
    QCOMPARE(list.at(1).toString(), u"zwölf"_s);
    QVERIFY(list.at(2).isNull());
    QVERIFY(root.value(u"Text"_s).isNull());
}

void TestPlistValue::otherKindsReadAsDefaults()
{
    const PlistValue root = PlistValue::parse(sampleDocument().toBinary(), true);
    for (const PlistValue &value : {root, root.value(u"number"_s), PlistValue(), PlistValue::newArray()}) {
        QVERIFY(!value.isString() && !value.isData() && !value.isDate() && !value.isBoolean());
        QCOMPARE(value.toString(), QString());
        QCOMPARE(value.toByteArray(), QByteArray());
        QVERIFY(!value.toDateTime().isValid());
        QCOMPARE(value.toBool(), false);
        QVERIFY(value.at(0).isNull());
    }
    QVERIFY(root.value(u"text"_s).value(u"text"_s).isNull());
}

void TestPlistValue::entriesOutliveTheirDocument()
{
    PlistValue entry;
    {
        const PlistValue document = PlistValue::parse(sampleDocument().toBinary(), true);
        entry = document.value(u"list"_s).at(0);
    }
    QCOMPARE(entry.toString(), u"one"_s);
}

void TestPlistValue::microsecondsCountAsMilliseconds()
{
    // Half a second after 2001: 500000 microseconds.
    const QByteArray date = QByteArray::fromHex("33") + QByteArray::fromHex("3FE0000000000000");
    const PlistValue value = PlistValue::parse(binaryList({date}), true);
    QVERIFY(value.isDate());
    QCOMPARE(value.toDateTime().toMSecsSinceEpoch(), 978307200000 + 500000);
}

void TestPlistValue::refuses_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a bare header is no binary list") << QByteArray("bplist00");
    QTest::newRow("noise") << QByteArray("\x01\x02garbage");
    QTest::newRow("noise behind a header") << QByteArray("bplist00") + QByteArray(100, '\xFF');
    QTest::newRow("a list that holds itself") << binaryList({QByteArray("\xA1\x00", 2)});
    QTest::newRow("nested too deep") << nestedLists(200, 1);
    QTest::newRow("nested too deep in XML") << nestedXml(1000000);
    QTest::newRow("closings in comments count for nothing")
        << "<plist>" + QByteArray("<array><!--</array>-->").repeated(1000000);
    QTest::newRow("unfolds to a million million lists") << nestedLists(13, 10);
    QTest::newRow("a count beyond the end")
        << binaryList({QByteArray::fromHex("AF13") + QByteArray(8, '\x7F')});
}

void TestPlistValue::refuses()
{
    QFETCH(QByteArray, data);
    QVERIFY(PlistValue::parse(data, true).isNull());
}

void TestPlistValue::everyShorterPrefixIsSurvived()
{
    for (const QByteArray &whole : {sampleDocument().toBinary(), sampleDocument().toXml()}) {
        for (qsizetype length = 0; length < whole.size(); ++length) {
            // An exact copy, so that a read past the end is one past the allocation.
            const QByteArray prefix(whole.constData(), length);
            QCOMPARE(PlistValue::parse(prefix, true).value(u"none"_s).toString(), QString());
        }
    }
}

void TestPlistValue::nestingThatPhonesUseIsFine()
{
    QVERIFY(PlistValue::parse(nestedLists(40, 1), true).isArray());
    QVERIFY(PlistValue::parse(nestedLists(4, 10), true).isArray());
    QVERIFY(PlistValue::parse(nestedXml(40), true).isArray());
    QVERIFY(PlistValue::parse("<plist><array>" + QByteArray("<dict/><array></array>").repeated(500) +
                                  "</array></plist>",
                              true)
                .isArray());
}

void TestPlistValue::participants_data()
{
    QTest::addColumn<QByteArray>("list");
    QTest::addColumn<QStringList>("expected");
    SamplePlist two = SamplePlist::array();
    two.append(u"+34612345678"_s);
    two.append(u"ann@example.org"_s);
    QTest::newRow("in the order of the list")
        << two.toBinary() << QStringList({u"+34612345678"_s, u"ann@example.org"_s});
    QTest::newRow("no list") << QByteArray() << QStringList();
    QTest::newRow("a dictionary is no list") << sampleDocument().toBinary() << QStringList();
    QTest::newRow("other values than texts are left out") << binaryList({"\xA2\x01\x02", "\x09",
                                                                         "\x51"
                                                                         "a"})
                                                          << QStringList({u"a"_s});
    SamplePlist crowd = SamplePlist::array();
    for (int i = 0; i < 5000; ++i)
        crowd.append(u"x"_s);
    QTest::newRow("more than any group") << crowd.toBinary() << QStringList();
}

void TestPlistValue::participants()
{
    QFETCH(QByteArray, list);
    QTEST(participantsOf(list), "expected");
}

QTEST_GUILESS_MAIN(TestPlistValue)
#include "testplistvalue.moc"
