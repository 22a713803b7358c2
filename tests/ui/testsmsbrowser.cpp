#include "app/texts.h"
#include "testing/builders/samplerichkinds.h"
#include "testing/helpers/boxreader.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testtools.h"
#include "ui/pages/smsbrowser.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

class TestSmsBrowser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pagesShowEachMessageOnce_data();
    void pagesShowEachMessageOnce();
    void rowsAreFoundOnTheirPage();
    void wordsAreNoMarkupAndStandOnTheirSide();
    void picturesComeInTheirPlace();
    void contentStandsOnACard();
    void opensWhatMayBeAProgramOnlyWhenTold();
    void longOnesStayQuick();
};

void TestSmsBrowser::pagesShowEachMessageOnce_data()
{
    QTest::addColumn<int>("pages");
    for (const int messages : {0, 49, 50, 51, 101})
        QTest::addRow("%d", messages) << (messages + 49) / 50;
}

void TestSmsBrowser::pagesShowEachMessageOnce()
{
    QFETCH(int, pages);
    const int messages = QByteArray(QTest::currentDataTag()).toInt();
    Records before; // of which nothing stays
    Records records;
    SmsBrowser browser;
    browser.setMessages({before.upTo(60), before.store});
    browser.setMessages({records.upTo(messages), records.store});
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
    for (const _MsgMessage *message : records.upTo(messages))
        expected.append(message->text);
    QCOMPARE(shown, expected);
    browser.onAnchorClicked(QUrl(u"/pre_page"_s));
    QCOMPARE(browser.currentPage(), pages > 1 ? pages - 1 : pages);
}

void TestSmsBrowser::rowsAreFoundOnTheirPage()
{
    Records records;
    SmsBrowser browser;
    browser.resize(500, 200);
    browser.setMessages({records.upTo(120), records.store});
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
    Records records;
    records.talk({person(u"+34600001"_s, u"<b>x</b>"_s)});
    records.received(u"<img src=\"/etc/passwd\"> &amp; 1\r\n2\n3"_s);
    SmsBrowser browser;
    browser.resize(600, 400);
    browser.setMessages({records.upTo(2), records.store}); // one received, one sent
    browser.show();
    const QString shown = browser.toPlainText().replace(QChar::LineSeparator, u'\n');
    QVERIFY2(shown.contains(u"<img src=\"/etc/passwd\"> &amp; 1\n2\n3"_s), qPrintable(shown));
    QVERIFY2(shown.contains(u"From: <b>x</b> (+34600001)"_s), qPrintable(shown));
    QVERIFY(browser.cursorRect(browser.document()->find(u"<img"_s)).x() < 300);
    QVERIFY(browser.cursorRect(browser.document()->find(u"text 1"_s)).x() > 290);
}

void TestSmsBrowser::picturesComeInTheirPlace()
{
    const QTemporaryDir dir;
    const QString file = dir.filePath(u"a%20 #1@2x.txt"_s); // names tell nothing
    QImage red(300, 300, QImage::Format_RGB32);
    red.fill(Qt::red);
    QVERIFY(red.save(file, "PNG"));
    _MsgAttachment picture;
    picture.rowid = 7;
    picture.localFile = file;
    _MsgAttachment hidden = picture;
    hidden.rowid = 9;
    hidden.transfer_name = u"hidden"_s;
    hidden.hide_attachment = 1;
    _MsgAttachment gone;
    gone.transfer_name = u"<i>gone"_s;
    gone.total_bytes = 1000;
    Records records;
    records.received(u"\uFFFCwords"_s).last().attachments = {
        {u"7"_s, &picture}, {u"8"_s, &gone}, {u"9"_s, &hidden}};
    SmsBrowser browser;
    browser.setMessages({records.upTo(60), records.store});
    browser.show();
    const auto shown = [&](const char *address) {
        return browser.document()
            ->resource(QTextDocument::ImageResource, QUrl(QLatin1String(address)))
            .value<QImage>();
    };
    const int height = shown("thumbnail:7").height();
    QTRY_COMPARE(shown("thumbnail:7").pixelColor(50, 50), QColor(Qt::red));
    QCOMPARE(shown("thumbnail:7").height(), height); // nothing below it moves
    const QString text = browser.toPlainText();
    QVERIFY2(text.contains(u"words"_s) && text.contains(u"<i>gone, 1.0 kB, not in the backup"_s),
             qPrintable(text));
    QVERIFY(!text.contains(u"hidden"_s) && !text.contains(u"[IMAGE]"_s));
    QVERIFY(browser.toHtml().contains(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)));
    for (const char *other : {"thumbnail:x", "thumbnail:99", "file:///etc/passwd", "http://localhost/a.png"})
        QVERIFY(browser.loadResource(QTextDocument::ImageResource, QUrl(QLatin1String(other)))
                    .value<QImage>()
                    .isNull());
    // Where the message tells its places, words stand between the files.
    _MsgMessage &first = *records.list().first();
    gone.guid = u"01234567-89AB-CDEF-0123-456789ABCDEF"_s;
    first.attributedBody = attachmentBody(gone.guid);
    first.extras = new MessageExtras;
    first.extras->hasPartOrder = true;
    browser.setEmojiStyle(EmojiStyle::Characters);
    QVERIFY(browser.toPlainText().contains(u"not in the backup\nwords\n"_s));
    browser.nextPage();
    QVERIFY(shown("thumbnail:7").isNull()); // the page's pictures went with it
}

void TestSmsBrowser::contentStandsOnACard()
{
    QTranslator translator;
    installTexts(translator);
    Records records;
    const auto balloon = [&](const QString &app, const QByteArray &payload) -> MessageExtras & {
        MessageExtrasPtr &extras = records.received({}).last().extras;
        extras = new MessageExtras;
        extras->balloon_bundle_id = app;
        extras->payload_data = payload;
        return *extras;
    };
    const QString handwriting = u"com.apple.Handwriting.HandwritingProvider"_s;
    balloon(handwriting, sampleHandwriting(20, 40'000, true));
    balloon(handwriting, "no drawing");
    MessageReaction vote;
    vote.associated_message_type = 4000;
    vote.is_from_me = 1;
    vote.payload_data = sampleVote(u"me"_s, {u"2"_s});
    balloon(u"com.apple.messages.Polls"_s, samplePoll(u"<b>Where?"_s, {u"Here"_s, u"There"_s})).reactions = {
        vote};
    SmsBrowser browser;
    browser.resize(600, 400);
    for (const QColor ink : {QColor(Qt::black), QColor(Qt::white)}) {
        QPalette palette = browser.palette();
        palette.setColor(QPalette::Text, ink);
        browser.setPalette(palette);
        browser.setMessages({records.list(), records.store});
        QElapsedTimer watch;
        watch.start();
        const QImage drawing =
            browser.loadResource(QTextDocument::ImageResource, QUrl(u"drawing:1"_s)).value<QImage>();
        QVERIFY(watch.elapsed() < 20'000);
        QVERIFY(!drawing.isNull() && drawing.width() <= 320 && drawing.height() <= 240);
        bool isDrawn = false;
        for (int x = 0; x < drawing.width(); ++x)
            for (int y = 0; y < drawing.height(); ++y)
                isDrawn |= drawing.pixelColor(x, y) == ink;
        QVERIFY(isDrawn);
    }
    for (const char *none : {"drawing:2", "drawing:3", "drawing:99", "drawing:x"})
        QVERIFY(browser.loadResource(QTextDocument::ImageResource, QUrl(QLatin1String(none)))
                    .value<QImage>()
                    .isNull());
    const QString text = browser.toPlainText();
    QCOMPARE(text.count(u"Poll: <b>Where?"_s), 1);
    QVERIFY2(text.contains(u"Here\nno votes"_s) && text.contains(u"1: You"_s), qPrintable(text));
    QCOMPARE(text.count(u"Handwritten message"_s), 2); // also where the archive can't be read
}

void TestSmsBrowser::opensWhatMayBeAProgramOnlyWhenTold()
{
    const QTemporaryDir dir;
    const QString opener = dir.filePath(u"xdg-open"_s);
    QVERIFY(writeFile(opener, "#!/bin/sh\necho \"$1\" >> \"${0%/*}/opened\"\n"));
    QVERIFY(QFile::setPermissions(opener, QFile::ReadOwner | QFile::ExeOwner));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", dir.path().toUtf8() + ':' + path);
    const auto restore = qScopeGuard([&] { qputenv("PATH", path); });
    SmsBrowser browser;
    const auto click = [&](const QString &name) {
        browser.onAnchorClicked(QUrl::fromLocalFile(dir.filePath(name)));
    };
    const BoxReader no(QMessageBox::No);
    for (const char *name : {"game.desktop", "photo.jpg.exe", "page.html", "noending", "list.csv."})
        click(QLatin1String(name));
    QCOMPARE(no.texts.size(), 5);
    QVERIFY(no.texts.at(1).contains(u"photo.jpg.exe"_s));
    click(u"photo.JPG"_s);
    const QByteArray opened = dir.filePath(u"photo.JPG"_s).toUtf8() + '\n';
    QTRY_COMPARE(bytesOf(dir.filePath(u"opened"_s)), opened);
    QCOMPARE(no.texts.size(), 5); // nothing was asked for a picture
}

void TestSmsBrowser::longOnesStayQuick()
{
    Records records;
    records.upTo(200'000).first()->text = QString(1 << 20, u'x');
    SmsBrowser browser;
    browser.show();
    QElapsedTimer timer;
    timer.start();
    browser.setMessages({records.upTo(200'000), records.store});
    browser.grab();
    QVERIFY(browser.toPlainText().contains(QString(100, u'x')));
    QVERIFY(timer.elapsed() < 10'000);
}

QTEST_MAIN(TestSmsBrowser)
#include "testsmsbrowser.moc"
