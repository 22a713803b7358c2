#include "search/messagesearch.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QStringList textsOf(const SearchResult &result)
{
    QStringList texts;
    for (const SearchHit &hit : result.hits)
        texts.append(hit.message->text);
    return texts;
}

} // namespace

class TestSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void partsTextsIntoTokens_data();
    void partsTextsIntoTokens();
    void findsWhatIsLookedFor_data();
    void findsWhatIsLookedFor();
    void findsEachNeedle();
    void givesTheNewestAndCountsAll();
    void whatIsGoneIsWiped();
    void whatIsDamagedIsNone_data();
    void whatIsDamagedIsNone();

private:
    QStringList search(const _MsgStorePtr &store, const SearchQuery &query)
    {
        const QTemporaryDir dir;
        RecordingProgress progress;
        SearchIndex index(dir.filePath(u"search.db"_s));
        index.update(*store, "1", progress);
        return textsOf(searchMessages(index, store, query, {}, 1000));
    }
};

void TestSearch::partsTextsIntoTokens_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tokens");
    QTest::addColumn<QString>("second"); // as it stands in the text
    const auto row = [](const char *name, const QString &text, const QString &tokens, const QString &second) {
        QTest::newRow(name) << text << tokens << second;
    };
    row("separators", u"Don't: e-mail_it"_s, u"don|t|e|mail|it"_s, u"t"_s);
    row("accents, composed or not", u"Señal sen\u0303al Ёлка"_s, u"senal|senal|елка"_s, u"sen\u0303al"_s);
    row("sharp s, ligatures, letters with strokes", u"Straße ﬁn Œuvre łódź"_s, u"strasse|fin|oeuvre|lodz"_s,
        u"ﬁn"_s);
    row("widths and digits", u"ＡＢ １２ ٣٤"_s, u"ab|12|34"_s, u"１２"_s);
    row("points and signs of Hebrew and Arabic", u"שָׁלוֹם مُحَمَّد"_s, u"שלום|محمد"_s, u"مُحَمَّد"_s);
    row("final sigma", u"ΟΔΟΣ οδός"_s, u"οδοσ|οδοσ"_s, u"οδός"_s);
    row("Chinese in a sentence", u"去东京A站"_s, u"去|东|京|a|站"_s, u"东"_s);
    row("kana with their sound mark", u"かが か\u3099ー"_s, u"か|か\u3099|か\u3099|ー"_s, u"が"_s);
    row("Thai without tones", u"ม้า"_s, u"ม|า"_s, u"า"_s);
    row("Hindi keeps its vowels", u"नमस्ते की"_s, u"नमस्ते|की"_s, u"की"_s);
    row("Korean goes by words", u"학교에서 집"_s, u"학교에서|집"_s.normalized(QString::NormalizationForm_D),
        u"집"_s);
    row("emoji with skin, joiner and selector", u"a👍🏽b❤\uFE0F\u200D🔥"_s,
        u"a|👍|🏽|b|❤|🔥"_s, u"👍"_s);
    row("half a pair and signs of attachments", u"a\xD83D"_s + u"b\uFFFCc"_s, u"a|b|c"_s, u"b"_s);
}

void TestSearch::partsTextsIntoTokens()
{
    QFETCH(QString, text);
    const QList<SearchToken> found = searchTokens(text);
    QByteArrayList tokens;
    for (const SearchToken &token : found)
        tokens.append(token.utf8);
    QTEST(QString::fromUtf8(tokens.join('|')), "tokens");
    QTEST(text.sliced(found.at(1).range.at, found.at(1).range.length), "second");
    QByteArray written;
    appendTokens(text, written);
    QCOMPARE(written, tokens.join(' ') + ' ');
}

void TestSearch::findsWhatIsLookedFor_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("expected");
    const auto row = [](const QString &query, const QString &expected) {
        QTest::newRow(qUtf8Printable(u"[%1]"_s.arg(query))) << query << expected;
    };
    row(u"senal"_s, u"Señal"_s);
    row(u"SENAL perdida"_s, u"Señal"_s);
    row(u"perdid"_s, u"Señal"_s); // the beginning of the last word
    row(u"perdid "_s, u""_s);     // it is complete
    row(u"sen perdida"_s, u""_s); // not the last
    row(u"\"perdida senal\""_s, u""_s);
    row(u"“senal perdida”"_s, u"Señal"_s);
    row(u"\"senal perd"_s, u"Señal"_s); // still being typed
    row(u"STRASSE"_s, u"Straße"_s);
    row(u"東京"_s, u"今日は東京へ"_s);
    row(u"京東"_s, u""_s);
    row(u"👍"_s, u"ok👍🏽"_s);
    row(u"NEAR(a b)"_s, u""_s);
    row(u"or"_s, u"this OR that*"_s);
    row(u"that*"_s, u"this OR that*"_s);
    row(u"text:that"_s, u""_s);
    row(u"-this"_s, u"this OR that*"_s);
    for (const QString &nothing :
         {u""_s, u" "_s, u"\""_s, u"*"_s, u"'"_s, u"()"_s, u"\xDC00\xD800"_s, u"\"\"\""_s})
        row(nothing, u""_s);
    row(u"before"_s, u"now"_s); // it was edited
    row(u"holiday.mov"_s, u"\uFFFC"_s);
    row(u"zoe"_s, u"this OR that*|Straße"_s); // by name, what she wrote and was sent
    row(u"+34612345678"_s, u"this OR that*|Straße"_s);
    row(u"straße that"_s, u""_s); // in two messages
    row(u"topic"_s, u"ok👍🏽"_s);
}

void TestSearch::findsWhatIsLookedFor()
{
    QFETCH(QString, query);
    Records records;
    records.chat(u"+1"_s).received(u"Señal"_s + u" perdida"_s).received(u"今日は東京へ"_s);
    records.received(u"ok👍🏽"_s).last().subject = u"Topic"_s;
    records.received(u"now"_s).last().extras = new MessageExtras;
    records.last().extras->edits = {{0, 1, u"before"_s}, {0, 2, u"now"_s}};
    records.received(u"\uFFFC"_s).attachment(u"~/Library/SMS/Attachments/a/Holiday.MOV"_s);
    records.talk({person(u"+34612345678"_s, u"Zoé"_s)}).received(u"Straße"_s).sent(u"this OR that*"_s);
    QStringList found = search(records.store, SearchQuery(query, LastWord::IsBeginning));
    found.replaceInStrings(u"Señal perdida"_s, u"Señal"_s);
    QTEST(found.join(u'|'), "expected");
}

/// Each stands once among many messages that look like it.
void TestSearch::findsEachNeedle()
{
    const QList<std::pair<QString, QString>> kinds = {{u"x nädél%1 x"_s, u"NADEL%1"_s},
                                                      {u"ﬂoß%1!"_s, u"flöss%1"_s},
                                                      {u"a😀%1b"_s, u"\"😀 %1b\""_s},
                                                      {u"我在第%1号楼"_s, u"第%1号"_s},
                                                      {u"игла-%1"_s, u"\"ИГЛА %1\""_s}};
    Records records;
    records.chat(u"+1"_s);
    constexpr int needles = 500;
    for (int i = 0; i < 3000; ++i) {
        const int kind = int(i % kinds.size());
        records.received(i % 6 == 0 ? kinds[kind].first.arg(i + 10000) : kinds[kind].first.arg(i % 100));
    }
    const QTemporaryDir dir;
    RecordingProgress progress;
    SearchIndex index(dir.filePath(u"search.db"_s));
    index.update(*records.store, "1", progress);
    for (int i = 0; i < needles; ++i) {
        const int number = i * 6;
        const auto &[text, query] = kinds[number % kinds.size()];
        const QStringList found =
            textsOf(searchMessages(index, records.store, SearchQuery(query.arg(number + 10000)), {}, 9));
        QCOMPARE(found, QStringList(text.arg(number + 10000)));
    }
}

void TestSearch::givesTheNewestAndCountsAll()
{
    Records records;
    records.chat(u"+1"_s);
    for (int i = 0; i < 100; ++i)
        records.received(u"%1 so many words before it, and then the **one** that is meant %1"_s.arg(i));
    records.received(u"one\nline"_s).last().date = 1; // the oldest
    const QTemporaryDir dir;
    RecordingProgress progress;
    SearchIndex index(dir.filePath(u"search.db"_s));
    index.update(*records.store, "1", progress);
    const SearchResult result = searchMessages(index, records.store, SearchQuery(u"one"_s), {}, 2);
    QCOMPARE(result.count, 101);
    QCOMPARE(textsOf(result).join(u' ').left(3), u"99 "_s);
    const SearchHit &hit = result.hits.first();
    QCOMPARE(hit.snippet, u"…before it, and then the **one** that is meant 99"_s);
    QCOMPARE(hit.snippet.sliced(hit.ranges.first().at, hit.ranges.first().length), u"one"_s);
    const Choice oldest{.to = 1};
    QCOMPARE(searchMessages(index, records.store, SearchQuery(u"one"_s), oldest, 9).hits.first().snippet,
             u"one line"_s);
}

void TestSearch::whatIsGoneIsWiped()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"search.db"_s);
    RecordingProgress progress;
    Records before;
    before.chat(u"+1"_s).received(u"stays"_s).received(u"confidential"_s).received(u"unchanged"_s);
    SearchIndex index(path);
    index.update(*before.store, "1", progress);
    QVERIFY(bytesOf(path).contains("confidential"));
    Records after;
    after.chat(u"+1"_s)
        .received(u"stays"_s)
        .received(u"new"_s)
        .received(u"unchanged"_s)
        .received(u"imported"_s);
    QVERIFY(!index.open("2"));
    index.update(*after.store, "2", progress);
    QVERIFY(index.open("2"));
    QVERIFY(!bytesOf(path).contains("confid"));
    for (const QString &word : {u"stays"_s, u"new"_s, u"unchanged"_s, u"imported"_s})
        QCOMPARE(textsOf(searchMessages(index, after.store, SearchQuery(word), {}, 9)), QStringList(word));
    // What an index says of a message that is another one by now is no hit.
    QVERIFY(searchMessages(index, before.store, SearchQuery(u"new"_s), {}, 9).hits.isEmpty());
}

void TestSearch::whatIsDamagedIsNone_data()
{
    QTest::addColumn<int>("at"); // the byte that is flipped; -1 cuts the file
    QTest::newRow("cut") << -1;
    QTest::newRow("header") << 20;
    QTest::newRow("check sum") << 63;
    for (int at = 100; at < 40000; at += 3001)
        QTest::addRow("byte %d", at) << at;
}

void TestSearch::whatIsDamagedIsNone()
{
    QFETCH(int, at);
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"search.db"_s);
    RecordingProgress progress;
    Records records;
    records.chat(u"+1"_s).received(u"word"_s);
    SearchIndex(path).update(*records.store, "1", progress);
    QByteArray bytes = bytesOf(path);
    QVERIFY(SearchIndex(path).open("1"));
    QVERIFY(!SearchIndex(path).open("2"));
    if (at < 0)
        bytes.chop(1);
    else
        bytes[at % bytes.size()] = char(~bytes[at % bytes.size()]);
    QVERIFY(writeFile(path, bytes));
    SearchIndex index(path);
    QVERIFY(!index.open("1"));
    index.update(*records.store, "1", progress);
    QCOMPARE(searchMessages(index, records.store, SearchQuery(u"word"_s), {}, 9).count, 1);
}

QTEST_GUILESS_MAIN(TestSearch)
#include "testsearch.moc"
