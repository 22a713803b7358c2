#include "messagerecords.h"
#include "smsprinter.h"
#include "texts.h"

#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QTest>
#include <QTimer>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

/// What a person sees of a preview, before and after a change of the paper to A6.
struct SeenPreview {
    QString title;
    QPageSize::PageSizeId firstPaper = QPageSize::Custom;
    int pages = 0;
    int pagesOnSmallPaper = 0;
};

SeenPreview lookAtPreview(QPrintPreviewDialog *preview)
{
    SeenPreview seen;
    auto *pages = preview->findChild<QPrintPreviewWidget *>();
    seen.title = preview->windowTitle();
    seen.firstPaper = preview->printer()->pageLayout().pageSize().id();
    seen.pages = pages->pageCount();
    preview->printer()->setPageSize(QPageSize(QPageSize::A6));
    pages->updatePreview();
    seen.pagesOnSmallPaper = pages->pageCount();
    return seen;
}

SeenPreview printAndLook(const QList<_MsgMessage *> &messages)
{
    SeenPreview seen;
    QTimer::singleShot(0, qApp, [&] {
        auto *preview = qobject_cast<QPrintPreviewDialog *>(QApplication::activeModalWidget());
        QVERIFY(preview);
        seen = lookAtPreview(preview);
        preview->reject();
    });
    SMSPrinter(nullptr).print(messages);
    return seen;
}

} // namespace

class TestSmsPrinter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anotherPaperSizeRepaints();
    void nothingIsOneNumberedPage();
};

void TestSmsPrinter::anotherPaperSizeRepaints()
{
    QTranslator translator;
    installTexts(translator);
    QGuiApplication::setFont(QFont(u"DejaVu Sans"_s)); // what fits on a page hangs on the font
    std::vector<_MsgMessage> messages(12);
    QList<_MsgMessage *> list;
    for (_MsgMessage &message : messages) {
        message.text = u"one\ntwo\nthree\nfour\nfive"_s;
        list.append(&message);
    }
    const SeenPreview seen = printAndLook(list);
    QCOMPARE(seen.title, u"Print SMS"_s);
    QCOMPARE(seen.firstPaper, QPageSize::A4);
    // A message is 143 units tall and followed by a gap of 30: five stand on A4, two on A6.
    QCOMPARE(seen.pages, 3);
    QCOMPARE(seen.pagesOnSmallPaper, 6);
}

void TestSmsPrinter::nothingIsOneNumberedPage()
{
    QCOMPARE(printAndLook({}).pages, 1);
}

QTEST_MAIN(TestSmsPrinter)
#include "testsmsprinter.moc"
