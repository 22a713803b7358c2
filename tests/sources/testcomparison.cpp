#include "sources/comparesources.h"
#include "testing/helpers/records.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestComparison : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyDifferenceIsTold();
    void messagesWithoutGuidsAreKnownByTheirWords();

private:
    static QStringList changes(const Records &older, const Records &newer, bool hasGuids)
    {
        const auto source = [&](const Records &records) {
            return ComparedSource{*records.store, [=](const _MsgMessage &) { return hasGuids; }};
        };
        QStringList list;
        for (const SourceChange &change : compareSources(source(older), source(newer)))
            list.append(changeName(change.kind) + u' ' + change.message->text);
        return list;
    }
};

void TestComparison::everyDifferenceIsTold()
{
    Records older;
    older.chat(u"+34611"_s)
        .received(u"stays"_s)
        .received(u"old words"_s)
        .received(u"taken back"_s)
        .received(u"lost"_s);
    Records newer;
    newer.chat(u"+34611"_s).received(u"stays"_s).received(u"new words"_s).received({});
    ownExtras(newer.last()).date_retracted = 1;
    newer.received(u"came"_s).last().guid = u"B-1"_s;
    QCOMPARE(changes(older, newer, true),
             QStringList({u"gone lost"_s, u"edited new words"_s, u"unsent "_s, u"new came"_s}));
    QCOMPARE(changes(newer, newer, true), QStringList());
}

void TestComparison::messagesWithoutGuidsAreKnownByTheirWords()
{
    const Records older = Records(u"A"_s).chat(u"+34611"_s).received(u"a"_s).received(u"b"_s);
    const Records newer = Records(u"B"_s).chat(u"+34611"_s).received(u"a"_s).received(u"c"_s);
    QCOMPARE(changes(older, newer, false), QStringList({u"gone b"_s, u"new c"_s}));
}

QTEST_GUILESS_MAIN(TestComparison)
#include "testcomparison.moc"
