#include "app/plistguard.h"
#include "app/plistvalue.h"
#include "testing/builders/sampleplist.h"

#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

// A binary property list of these objects, with offsets of four bytes and references of one.
QByteArray binaryList(const QList<QByteArray> &objects)
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
           QByteArray(8, '\0') + bigEndian(table);
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
    document.set("number", qint64(42));
    document.set("data", QByteArray("a\0b", 3));
    document.set("list", inner);
    return document;
}

} // namespace

class TestPlistValue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsBothForms();
    void microsecondsCountAsMilliseconds();
    void refusesOnlyWhatNoPhoneWrites();
    void keysThatCantBeListedAreTold();
    void everyShorterPrefixIsSurvived();
};

void TestPlistValue::readsBothForms()
{
    for (const QByteArray &data : {sampleDocument().toBinary(), sampleDocument().toXml()}) {
        const PlistValue root = PlistValue::parse(data, true);
        QCOMPARE(root.value(u"text"_s).toString(), u"Größe 😄"_s);
        QCOMPARE(root.value(u"number"_s).toInt(), 42);
        QCOMPARE(root.value(u"data"_s).toByteArray(), QByteArray("a\0b", 3));
        const PlistValue list = root.value(u"list"_s);
        QCOMPARE(list.at(1).toString(), u"zwölf"_s);
        QVERIFY(list.at(2).isNull() && list.value(u"text"_s).isNull());
    }
}

void TestPlistValue::microsecondsCountAsMilliseconds()
{
    // Half a second after 2001: 500000 microseconds.
    const QByteArray date = QByteArray::fromHex("33") + QByteArray::fromHex("3FE0000000000000");
    const PlistValue value = PlistValue::parse(binaryList({date}), true);
    QCOMPARE(value.toDateTime().toMSecsSinceEpoch(), 978307200000 + 500000);
}

void TestPlistValue::refusesOnlyWhatNoPhoneWrites()
{
    const QList<QByteArray> lists = {
        "bplist00",
        "bplist00" + QByteArray(100, '\xFF'),
        binaryList({QByteArray("\xA1\x00", 2)}), // holds itself
        nestedLists(200, 1),
        nestedXml(1000000),
        "<plist>" + QByteArray("<array><!--</array>-->").repeated(1000000),
        nestedLists(13, 10), // unfolds to a million million lists
        binaryList({QByteArray::fromHex("AF13") + QByteArray(8, '\x7F')})}; // a count beyond the end
    for (const QByteArray &list : lists)
        QVERIFY2(PlistValue::parse(list, true).isNull(), list.first(8).constData());
    for (const QByteArray &list : {nestedLists(40, 1), nestedLists(4, 10), nestedXml(40)})
        QVERIFY(PlistValue::parse(list, true).isArray());
}

void TestPlistValue::keysThatCantBeListedAreTold()
{
    for (const QByteArray &key : {QByteArray("\x53\x61\x00\x62", 4), QByteArray("\x09"), QByteArray("\xA0")})
        QVERIFY(!isBoundedBinaryPlist(binaryList({"\xD1\x01\x02", key, "\x09"}), PlistKeys::Listable));
    QVERIFY(isBoundedBinaryPlist(sampleDocument().toBinary(), PlistKeys::Listable));
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

QTEST_GUILESS_MAIN(TestPlistValue)
#include "testplistvalue.moc"
