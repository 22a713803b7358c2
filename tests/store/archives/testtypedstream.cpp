#include "store/archives/typedstream.h"
#include "store/records/messagesummary.h"
#include "store/records/messagetext.h"
#include "testing/helpers/testtools.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QByteArray sample(const QString &name)
{
    return bytesOf(QStringLiteral(CORPUS) + name);
}

const QByteArray head = QByteArray::fromHex("040b") + "streamtyped" + QByteArray::fromHex("81e803");

} // namespace

class TestTypedStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheText_data();
    void findsTheText();
    void refusesWhatIsNoSound_data();
    void refusesWhatIsNoSound();
    void findsAttachments();
    void tellsOfEdits();
};

void TestTypedStream::findsTheText_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isCut");
    QTest::newRow("the usual one") << u"mutable"_s << u"Grüße 🎉"_s << false;
    QTest::newRow("one that never changes") << u"plain"_s << u"hello"_s << false;
    QTest::newRow("a length of two bytes") << u"long"_s << QString(300, u'x') << false;
    QTest::newRow("a string alone") << u"lone-string"_s << u"hello"_s << false;
    QTest::newRow("values before the string") << u"text-behind-numbers"_s << u"hello"_s << false;
    QTest::newRow("a length beyond the end") << u"wrong-length"_s << u"hello"_s << true;
}

// What stands behind the text can't spoil it; before its end, a beginning of it comes, said to be cut.
void TestTypedStream::findsTheText()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(bool, isCut);
    const QByteArray whole = sample(u"typedstream/"_s + name);
    QCOMPARE(textOfTypedStream(whole).value().text, text);
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        const std::optional<TypedStreamText> found = textOfTypedStream(QByteArray(whole.first(length)));
        if (!found)
            continue;
        QVERIFY2(text.startsWith(found->text), qPrintable(found->text));
        QCOMPARE(found->isCut, isCut || found->text != text);
    }
}

void TestTypedStream::refusesWhatIsNoSound_data()
{
    const QByteArray object = QByteArray::fromHex("84014084");
    QTest::addColumn<QByteArray>("stream");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a header alone") << head;
    QTest::newRow("another writer") << QByteArray("\x04\x0btypedstream");
    QTest::newRow("objects within objects")
        << head + object + "\x84\x84\x01X\x01\x85\x84\x01@"_ba.repeated(100000);
    QTest::newRow("an object that is its own class") << head + object + QByteArray::fromHex("92");
    QTest::newRow("a reference to nothing") << head + QByteArray::fromHex("840140ff");
    QTest::newRow("an array longer than all") << head + QByteArray::fromHex("8406") + "[9999999999999{}]";
    QTest::newRow("empty types without end") << head + QByteArray::fromHex("8410") + "[999999999{=}]" + "]]";
    QTest::newRow("types within types") << head + QByteArray::fromHex("8181ff7f") + "{="_ba.repeated(32767);
}

void TestTypedStream::refusesWhatIsNoSound()
{
    QFETCH(QByteArray, stream);
    QVERIFY(!textOfTypedStream(stream));
}

void TestTypedStream::findsAttachments()
{
    const QString guid = u"01234567-89AB-CDEF-0123-456789ABCDEF"_s;
    const QByteArray whole = attachmentBody(guid);
    const qsizetype end = whole.indexOf(guid.toLatin1()) + guid.size() + 1; // with the end of the string
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        const QList<TypedStreamAttachment> found = attachmentsOfTypedStream(QByteArray(whole.first(length)));
        QVERIFY(length < end ? found.isEmpty()
                             : found.size() == 1 && found.first().at == 0 && found.first().guid == guid);
    }
}

void TestTypedStream::tellsOfEdits()
{
    const MessageSummary edited = messageSummaryOf(sample(u"messagesummary/edited"_s));
    QStringList states;
    for (const MessageEdit &edit : edited.edits)
        states.append(u"%1 %2 %3"_s.arg(edit.part).arg(edit.date).arg(edit.text));
    QCOMPARE(states, QStringList({u"0 700000000 first"_s, u"0 700000060 second"_s, u"1 700000000 x"_s}));
    QCOMPARE(messageSummaryOf(sample(u"messagesummary/unsent"_s)).retractedParts, QList<int>({0, 3}));
    const MessageSummary odd = messageSummaryOf(sample(u"messagesummary/odd"_s));
    QCOMPARE(odd.edits.size(), 2);
    QCOMPARE(odd.edits.first().date, 0);
    QVERIFY(odd.retractedParts.isEmpty());
    QCOMPARE(messageSummaryOf(sample(u"messagesummary/unsound-key"_s)).edits.size(), 2); // no abort
    QVERIFY(mayTellOfChanges(sample(u"messagesummary/edited"_s)));
    QVERIFY(!mayTellOfChanges(sample(u"messagesummary/plain"_s)));
    const QByteArray whole = sample(u"messagesummary/edited"_s);
    for (qsizetype length = 0; length < whole.size(); ++length)
        QVERIFY(messageSummaryOf(whole.first(length)).edits.size() <= 3);
}

QTEST_GUILESS_MAIN(TestTypedStream)
#include "testtypedstream.moc"
