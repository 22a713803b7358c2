#include "store/archives/keyedarchive.h"
#include "testing/builders/samplearchive.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

SamplePlist listOf(const QList<quint64> &objects)
{
    SamplePlist list = SamplePlist::array();
    for (const quint64 object : objects)
        list.appendUid(object);
    return list;
}

SamplePlist dictionaryOf(const QList<quint64> &keys, const QList<quint64> &values)
{
    SamplePlist dictionary = SamplePlist::dictionary();
    dictionary.set("NS.keys", listOf(keys));
    dictionary.set("NS.objects", listOf(values));
    return dictionary;
}

SamplePlist arrayOf(const QList<quint64> &objects)
{
    SamplePlist array = SamplePlist::dictionary();
    array.set("NS.objects", listOf(objects));
    return array;
}

struct Archive : SampleArchive {
    Archive() : root(reserve()) {}
    quint64 url(const QString &relative, quint64 base = 0)
    {
        SamplePlist object = SamplePlist::dictionary();
        object.setUid("NS.base", base);
        object.setUid("NS.relative", add(relative));
        return add(std::move(object));
    }
    QVariantMap with(const QList<QPair<QString, quint64>> &entries)
    {
        QList<quint64> keys;
        QList<quint64> values;
        for (const auto &[key, value] : entries) {
            keys.append(add(key));
            values.append(value);
        }
        put(root, dictionaryOf(keys, values));
        return readPlistTree(toBinary(root)).toMap();
    }
    quint64 root;
};

/// A record of a class with fields of each kind.
QByteArray everyKind()
{
    Archive archive;
    SamplePlist date = SamplePlist::dictionary();
    date.set("NS.time", 700000000.5);
    SamplePlist text = SamplePlist::dictionary();
    text.set("NS.bytes", QByteArray("wör"));
    text.setUid("$class", archive.addClass({u"NSMutableString"_s, u"NSString"_s}));
    SamplePlist record = SamplePlist::dictionary();
    record.setUid("$class", archive.addClass({u"LPLinkMetadata"_s, u"NSObject"_s}));
    record.set("on", true);
    record.set("count", qint64(-7));
    record.set("real", 2.5);
    record.setUid("title", archive.add(u"Größe 😄"_s));
    record.setUid("URL", archive.url(u"b?q=1"_s, archive.url(u"https://example.org/a/"_s)));
    record.setUid("data", archive.addData("a\xFF"));
    record.setUid("date", archive.add(std::move(date)));
    record.setUid("text", archive.add(std::move(text)));
    record.setUid("nothing", 0);
    archive.put(archive.root, std::move(record));
    return archive.toBinary(archive.root);
}

} // namespace

class TestKeyedArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEveryKind();
    void readsXmlAlike();
    void onlyWhatIsWrongIsMissing();
    void whatIsSharedMayNotGrow();
    void everyShorterPrefixIsSurvived();
};

void TestKeyedArchive::readsEveryKind()
{
    const QVariantMap tree = readPlistTree(everyKind()).toMap();
    const QVariantMap expected = {{u"$class"_s, u"LPLinkMetadata"_s},
                                  {u"on"_s, true},
                                  {u"count"_s, qint64(-7)},
                                  {u"real"_s, 2.5},
                                  {u"title"_s, u"Größe 😄"_s},
                                  {u"URL"_s, u"https://example.org/a/b?q=1"_s},
                                  {u"data"_s, QByteArray("a\xFF")},
                                  {u"date"_s, QDateTime::fromMSecsSinceEpoch(1678307200500, Qt::UTC)},
                                  {u"text"_s, u"wör"_s},
                                  {u"nothing"_s, QVariant()}};
    QCOMPARE(tree, expected);
}

void TestKeyedArchive::readsXmlAlike()
{
    const QByteArray xml = R"(<plist version="1.0"><dict><key>$top</key><dict><key>dd-result</key>
        <dict><key>CF$UID</key><integer>1</integer></dict></dict><key>$objects</key><array>
        <string>$null</string><dict><key>MS</key><dict><key>CF$UID</key><integer>2</integer></dict></dict>
        <string>tomorrow</string></array></dict></plist>)";
    QCOMPARE(textAt(readPlistTree(xml), u"MS"_s), u"tomorrow"_s);
}

void TestKeyedArchive::onlyWhatIsWrongIsMissing()
{
    Archive archive;
    const quint64 circle = archive.reserve();
    archive.put(circle, arrayOf({archive.add(u"in"_s), circle, archive.root}));
    SamplePlist number = SamplePlist::dictionary();
    number.set("NS.keys", u"no list"_s);
    const QVariantMap tree =
        archive.with({{u"good"_s, archive.add(u"here"_s)},
                      {u"circle"_s, circle},
                      {u"outside"_s, 999999},
                      {u"unequal"_s, archive.add(dictionaryOf({archive.add(u"a"_s)}, {}))},
                      {u"wrong"_s, archive.add(std::move(number))}});
    QCOMPARE(tree.size(), 5);
    QCOMPARE(tree.value(u"good"_s), u"here"_s);
    QCOMPARE(tree.value(u"circle"_s), QVariantList({u"in"_s, {}, {}}));
    for (const QString &key : {u"outside"_s, u"unequal"_s, u"wrong"_s})
        QVERIFY2(!tree.value(key).isValid(), qPrintable(key));
}

void TestKeyedArchive::whatIsSharedMayNotGrow()
{
    QElapsedTimer timer;
    timer.start();
    Archive doubling; // each level holds the next one ten times
    Archive chain;    // named from the last to the first, so that each is at hand when the next one wants it
    QList<quint64> links;
    quint64 next = doubling.add(QString(100000, u'x'));
    for (int level = 0; level < 60; ++level)
        next = doubling.add(arrayOf(QList<quint64>(10, next)));
    links.append(chain.add(u"end"_s));
    for (int link = 0; link < 20000; ++link)
        links.append(chain.add(arrayOf({links.last()})));
    QVERIFY(doubling.with({{u"all"_s, next}}).value(u"all"_s).isValid());
    chain.put(chain.root, arrayOf(links));
    const QVariantList read = readPlistTree(chain.toBinary(chain.root)).toList();
    QCOMPARE(read.first(), u"end"_s);
    QCOMPARE(read.at(5).toList().size(), 1);
    QVERIFY(timer.elapsed() < 10000);
}

void TestKeyedArchive::everyShorterPrefixIsSurvived()
{
    const QByteArray whole = everyKind();
    for (qsizetype length = 0; length < whole.size(); ++length)
        QVERIFY(!readPlistTree(QByteArray(whole.constData(), length)).isValid());
    for (qsizetype at = 0; at < whole.size(); ++at) {
        QByteArray flipped = whole;
        flipped[at] = char(flipped.at(at) ^ 0xFF);
        readPlistTree(flipped);
    }
}

QTEST_GUILESS_MAIN(TestKeyedArchive)
#include "testkeyedarchive.moc"
