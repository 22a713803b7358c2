#include "messagefixture.h"
#include "smsbrowser.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSmsBrowser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pagesShowEachMessageOnce_data();
    void pagesShowEachMessageOnce();
    void rowsAreFoundOnTheirPage();
    void wordsAreNoMarkupAndStandOnTheirSide();
    void longOnesStayQuick();
};

void TestSmsBrowser::pagesShowEachMessageOnce_data()
{
    QTest::addColumn<int>("messages");
    QTest::addColumn<int>("pages");
    QTest::newRow("none leaves nothing of the ones before") << 0 << 0;
    QTest::newRow("49 leave one page short") << 49 << 1;
    QTest::newRow("50 fill one page") << 50 << 1;
    QTest::newRow("51 need two") << 51 << 2;
    QTest::newRow("101 need three") << 101 << 3;
}

void TestSmsBrowser::pagesShowEachMessageOnce()
{
    QFETCH(int, messages);
    QFETCH(int, pages);
    MessageFixture before;
    MessageFixture fixture;
    SmsBrowser browser;
    browser.setMessages(before.messages(60));
    browser.setMessages(fixture.messages(messages));
    QCOMPARE(browser.pageCount(), pages);
    QStringList shown;
    QStringList expected;
    for (int page = 1; page <= pages; ++page) {
        QCOMPARE(browser.currentPage(), page);
        QCOMPARE(browser.toPlainText().contains(u"<<Previous Page"_s), page > 1);
        QCOMPARE(browser.toPlainText().contains(u">>Next Page"_s), page < pages);
        shown += browser.toPlainText().split(u'\n').filter(QRegularExpression(u"^text "_s));
        browser.onAnchorClicked(QUrl(u"/next_page"_s));
    }
    QCOMPARE(browser.currentPage(), pages);
    for (const _MsgMessage *message : fixture.messages(messages))
        expected.append(message->text);
    QCOMPARE(shown, expected);
    browser.onAnchorClicked(QUrl(u"/pre_page"_s));
    QCOMPARE(browser.currentPage(), pages > 1 ? pages - 1 : pages);
}

void TestSmsBrowser::rowsAreFoundOnTheirPage()
{
    MessageFixture fixture;
    SmsBrowser browser;
    browser.resize(500, 200);
    browser.setMessages(fixture.messages(120));
    browser.show();
    for (const int row : {-1, 120, 50, 49, 95}) {
        browser.showMessage(row);
        QCOMPARE(browser.currentPage(), row == 50 || row == 95 ? 2 : 1); // there is no row -1 and no row 120
    }
    const QTextCursor found = browser.document()->find(u"text 95"_s);
    QTRY_VERIFY(browser.viewport()->rect().intersects(browser.cursorRect(found)));
}

void TestSmsBrowser::wordsAreNoMarkupAndStandOnTheirSide()
{
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"<b>x</b>"_s)});
    fixture.message(u"<img src=\"/etc/passwd\"> &amp; 1\r\n2\n3"_s);
    SmsBrowser browser;
    browser.resize(600, 400);
    browser.setMessages(fixture.messages(2)); // one received, one sent
    browser.show();
    const QString shown = browser.toPlainText().replace(QChar::LineSeparator, u'\n');
    QVERIFY2(shown.contains(u"<img src=\"/etc/passwd\"> &amp; 1\n2\n3"_s), qPrintable(shown));
    QVERIFY2(shown.contains(u"From: <b>x</b> (+34600001)"_s), qPrintable(shown));
    QVERIFY(browser.cursorRect(browser.document()->find(u"<img"_s)).x() < 300);
    QVERIFY(browser.cursorRect(browser.document()->find(u"text 1"_s)).x() > 290);
}

void TestSmsBrowser::longOnesStayQuick()
{
    MessageFixture fixture;
    fixture.messages(200'000).first()->text = QString(1 << 20, u'x');
    SmsBrowser browser;
    browser.show();
    QElapsedTimer timer;
    timer.start();
    browser.setMessages(fixture.messages(200'000));
    browser.grab();
    QVERIFY(browser.toPlainText().contains(QString(100, u'x')));
    QVERIFY(timer.elapsed() < 10'000);
}

QTEST_MAIN(TestSmsBrowser)
#include "testsmsbrowser.moc"
