#include "messagefixture.h"
#include "smsbrowser.h"
#include "smspagehtml.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPalette>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

using namespace Qt::StringLiterals;

namespace
{

const QString previous = u"<<Previous Page"_s;
const QString next = u">>Next Page"_s;

/// The numbers of the messages on view and the links around them, such as "<<Previous Page".
QStringList onView(const SmsBrowser &browser)
{
    QStringList lines;
    for (const QString &line : browser.toPlainText().split(u'\n'))
        if (line.startsWith(u"text "_s) || line == previous || line == next)
            lines.append(line);
    return lines;
}

} // namespace

class TestSmsBrowser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pages_data();
    void pages();
    void linksTurnPages();
    void rowsAreFoundOnTheirPage_data();
    void rowsAreFoundOnTheirPage();
    void wordsAreNoMarkup();
    void sidesAndColours();
    void darkGroundGetsLightWriting();
    void emptyAgain();
    void longOnes_data();
    void longOnes();
};

void TestSmsBrowser::pages_data()
{
    QTest::addColumn<int>("messages");
    QTest::addColumn<int>("pages");
    QTest::addColumn<int>("onLastPage");
    QTest::newRow("none") << 0 << 0 << 0;
    QTest::newRow("49 fill one page") << 49 << 1 << 49;
    QTest::newRow("50 fill one page") << 50 << 1 << 50;
    QTest::newRow("51 need two") << 51 << 2 << 1;
    QTest::newRow("101 need three") << 101 << 3 << 1;
}

void TestSmsBrowser::pages()
{
    QFETCH(int, messages);
    QFETCH(int, pages);
    MessageFixture fixture;
    SmsBrowser browser;
    browser.setMessages(fixture.messages(messages));
    QCOMPARE(browser.pageCount(), pages);
    QCOMPARE(browser.currentPage(), std::min(pages, 1));
    QCOMPARE(onView(browser).contains(next), pages > 1);
    QVERIFY(!onView(browser).contains(previous));
    browser.previousPage();
    QCOMPARE(browser.currentPage(), std::min(pages, 1));
    browser.lastPage();
    browser.nextPage();
    QCOMPARE(browser.currentPage(), pages);
    QTEST(int(onView(browser).filter(u"text "_s).size()), "onLastPage");
    QCOMPARE(onView(browser).contains(previous), pages > 1);
    QVERIFY(!onView(browser).contains(next));
}

void TestSmsBrowser::linksTurnPages()
{
    MessageFixture fixture;
    SmsBrowser browser;
    browser.resize(500, 300);
    browser.setMessages(fixture.messages(101));
    browser.show();
    QTest::keyClick(&browser, Qt::Key_Tab); // to the only link
    QTest::keyClick(&browser, Qt::Key_Return);
    QCOMPARE(browser.currentPage(), 2);
    QCOMPARE(onView(browser).at(1), u"text 50"_s);
    QCOMPARE(browser.verticalScrollBar()->value(), 0);
    browser.onAnchorClicked(QUrl(u"/pre_page"_s));
    QCOMPARE(browser.currentPage(), 1);
    QVERIFY(browser.verticalScrollBar()->value() > browser.verticalScrollBar()->maximum() - 20);
    browser.onAnchorClicked(QUrl(u"http://example.org/other"_s));
    QCOMPARE(browser.currentPage(), 1);
}

void TestSmsBrowser::rowsAreFoundOnTheirPage_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("page");
    QTest::newRow("before the first") << -1 << 1;
    QTest::newRow("49 ends the first page") << 49 << 1;
    QTest::newRow("50 begins the second") << 50 << 2;
    QTest::newRow("the last") << 119 << 3;
    QTest::newRow("behind the last") << 120 << 1;
}

void TestSmsBrowser::rowsAreFoundOnTheirPage()
{
    QFETCH(int, row);
    QFETCH(int, page);
    MessageFixture fixture;
    SmsBrowser browser;
    browser.resize(500, 200);
    browser.setMessages(fixture.messages(120));
    browser.show();
    browser.showMessage(row);
    QCOMPARE(browser.currentPage(), page);
    if (row < 0 || row >= 120)
        return;
    QTRY_COMPARE(browser.verticalScrollBar()->value() > 0, row % 50 != 0);
    QTRY_VERIFY(browser.cursorForPosition(QPoint(5, 5)).position() > 0 || row % 50 == 0);
    const QTextCursor found = browser.document()->find(u"text %1"_s.arg(row));
    QVERIFY(browser.viewport()->rect().intersects(browser.cursorRect(found)));
}

void TestSmsBrowser::wordsAreNoMarkup()
{
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"<b>x</b>"_s)});
    fixture.message(u"<img src=\"/etc/passwd\"> &amp; 1\r\n2\n3"_s);
    SmsBrowser browser;
    browser.setMessages(fixture.messages(1));
    const QString shown = browser.toPlainText().replace(QChar::LineSeparator, u'\n');
    QVERIFY2(shown.contains(u"<img src=\"/etc/passwd\"> &amp; 1\n2\n3"_s), qPrintable(shown));
    QVERIFY2(shown.contains(u"From: <b>x</b> (+34600001)"_s), qPrintable(shown));
}

void TestSmsBrowser::sidesAndColours()
{
    MessageFixture fixture;
    SmsBrowser browser;
    browser.resize(600, 400);
    browser.setMessages(fixture.messages(2)); // one received, one sent
    browser.show();
    const QTextCursor received = browser.document()->find(u"text 0"_s);
    const QTextCursor sent = browser.document()->find(u"text 1"_s);
    QVERIFY(browser.cursorRect(received).x() < 300);
    QVERIFY(browser.cursorRect(sent).x() > 290);
    const auto titleColour = [&](const QString &title) {
        return browser.document()->find(title).charFormat().foreground().color();
    };
    QCOMPARE(titleColour(u"From:"_s), QColor(0x00, 0x00, 0xff));
    QCOMPARE(titleColour(u"To:"_s), QColor(0x00, 0x80, 0x40));
}

void TestSmsBrowser::darkGroundGetsLightWriting()
{
    MessageFixture fixture;
    SmsBrowser browser;
    browser.setMessages(fixture.messages(120));
    browser.nextPage();
    QApplication::setPalette(
        QPalette(Qt::white, Qt::darkGray, Qt::gray, Qt::black, Qt::gray, Qt::white, Qt::black));
    QTRY_VERIFY(browser.document()->find(u"From:"_s).charFormat().foreground().color().lightness() > 150);
    QCOMPARE(browser.currentPage(), 2);
    QApplication::setPalette(QPalette());
    QTRY_COMPARE(browser.document()->find(u"From:"_s).charFormat().foreground().color(), QColor(0, 0, 0xff));
}

void TestSmsBrowser::emptyAgain()
{
    MessageFixture fixture;
    SmsBrowser browser;
    browser.setMessages(fixture.messages(60));
    browser.clearMessages();
    QCOMPARE(browser.toPlainText(), QString());
    QCOMPARE(browser.currentPage(), 0);
    QCOMPARE(browser.pageCount(), 0);
}

void TestSmsBrowser::longOnes_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    QTest::newRow("200,000 messages") << 200'000 << u"short"_s;
    QTest::newRow("a word of a megabyte") << 1 << QString(1 << 20, u'x');
    QTest::newRow("a megabyte of words") << 1 << u"word "_s.repeated((1 << 20) / 5);
}

void TestSmsBrowser::longOnes()
{
    QFETCH(int, count);
    QFETCH(QString, text);
    MessageFixture fixture;
    const QList<_MsgMessage *> messages = fixture.messages(count);
    messages.first()->text = text;
    SmsBrowser browser;
    browser.resize(700, 500);
    browser.show();
    QElapsedTimer timer;
    timer.start();
    browser.setMessages(messages);
    browser.grab();
    qInfo() << timer.elapsed() << "ms to the first page";
    QVERIFY(browser.toPlainText().contains(text.right(100).trimmed()));
    QVERIFY(timer.elapsed() < 10'000);
}

QTEST_MAIN(TestSmsBrowser)
#include "testsmsbrowser.moc"
