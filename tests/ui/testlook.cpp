#include "boxes.h"
#include "boxreader.h"
#include "mytreeview.h"
#include "plaintextdelegate.h"
#include "programicon.h"
#include "stylesheet.h"
#include "winmovable.h"

#include <QContextMenuEvent>
#include <QDir>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace
{

QPalette darkPalette()
{
    QPalette palette(QColor(53, 53, 53), QColor(45, 45, 45));
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    return palette;
}

int darkestLine(const QIcon &icon, int size)
{
    const QImage image = icon.pixmap(QSize(size, size), 1.0).toImage();
    int darkest = 255;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) == 255)
                darkest = std::min(darkest, qGray(image.pixel(x, y)));
    return darkest;
}

} // namespace

class TestLook : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QApplication::setPalette(QPalette()); }
    void boxesShowTheirTextAndAsk_data();
    void boxesShowTheirTextAndAsk();
    void escapeIsNo();
    void styleSheetIsUnderstood();
    void framelessWindowFollowsTheLeftButton_data();
    void framelessWindowFollowsTheLeftButton();
    void iconsAreDrawnForEveryPalette_data();
    void iconsAreDrawnForEveryPalette();
    void selectedIconTakesTheColourOfItsRow();
    void rowsArePlainAndShort_data();
    void rowsArePlainAndShort();
    void toolTipsAreNoMarkup();
    void viewsTellOfSelectionAndMenu();
};

void TestLook::boxesShowTheirTextAndAsk_data()
{
    using Call = std::function<bool()>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("result");
    const auto show = [](void (*box)(const QString &), const QString &text) -> Call {
        return [=] { return box(text), true; };
    };
    const QString error = u"An Error Occurred. <br/><br/>%1<br/><br/> Or you can contact "
                          "support@marrowlight.example for help."_s;
    QTest::newRow("info") << show(showInfo, u"a"_s) << QMessageBox::Ok << u"box-information"_s << u"a"_s
                          << true;
    QTest::newRow("warning") << show(showWarning, u"a"_s) << QMessageBox::Ok << u"box-warning"_s << u"a"_s
                             << true;
    QTest::newRow("critical") << show(showCritical, u"a"_s) << QMessageBox::Ok << u"box-critical"_s << u"a"_s
                              << true;
    QTest::newRow("error keeps breaks, shows other tags")
        << show(showError, u"a<br/>b\n<i>c</i>"_s) << QMessageBox::Ok << u"box-critical"_s
        << error.arg(u"a<br/>b<br/>&lt;i>c&lt;/i>"_s) << true;
    QTest::newRow("yes") << Call([] { return askYesNo(u"a"_s); }) << QMessageBox::Yes << u"box-question"_s
                         << u"a"_s << true;
    QTest::newRow("no") << Call([] { return ask(u"a"_s); }) << QMessageBox::No << u"box-question"_s << u"a"_s
                        << false;
}

void TestLook::boxesShowTheirTextAndAsk()
{
    QFETCH(std::function<bool()>, call);
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(QString, kind);
    QFETCH(QString, text);
    const BoxReader reader(answer);
    const bool answered = call();
    QTEST(answered, "result");
    QCOMPARE(reader.texts, QStringList{text});
    QCOMPARE(reader.kinds, QStringList{kind});
}

void TestLook::escapeIsNo()
{
    QTimer::singleShot(50, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
    QVERIFY(!askYesNo(u"Sure?"_s));
}

void TestLook::styleSheetIsUnderstood()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s)); // Qt warns of what it can't parse
    QVERIFY(!loadStyleSheet().isEmpty());
    QDialog dialog;
    dialog.setStyleSheet(loadStyleSheet());
    new QPushButton(&dialog);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
}

void TestLook::framelessWindowFollowsTheLeftButton_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<bool>("releaseBefore");
    QTest::addColumn<QPoint>("moved");
    QTest::newRow("left drags") << Qt::LeftButton << false << QPoint(30, 20);
    QTest::newRow("right doesn't") << Qt::RightButton << false << QPoint();
    QTest::newRow("released lets go") << Qt::LeftButton << true << QPoint();
}

void TestLook::framelessWindowFollowsTheLeftButton()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(bool, releaseBefore);
    QDialog dialog(nullptr, Qt::Dialog | Qt::FramelessWindowHint);
    const WinMovable movable(&dialog);
    dialog.setGeometry(100, 100, 200, 100);
    dialog.show();
    const QPoint before = dialog.pos();
    QTest::mousePress(&dialog, button, {}, {10, 10});
    if (releaseBefore)
        QTest::mouseRelease(&dialog, button, {}, {10, 10});
    QTest::mouseMove(&dialog, {40, 30});
    const QPoint moved = dialog.pos() - before;
    QTEST(moved, "moved");
}

void TestLook::iconsAreDrawnForEveryPalette_data()
{
    QTest::addColumn<QString>("resource");
    for (const QString &name : QDir(u":/res"_s).entryList({u"*.png"_s}))
        QTest::newRow(qPrintable(name)) << u":res/"_s + name;
    QTest::newRow("picture") << u":main"_s;
}

void TestLook::iconsAreDrawnForEveryPalette()
{
    QFETCH(QString, resource);
    const QIcon icon = programIcon(resource);
    QVERIFY(!icon.isNull());
    QCOMPARE(icon.pixmap(QSize(24, 24), 2.0).size(), QSize(48, 48));
    const bool hasLines = !resource.contains(u"imsg"_s) && resource != u":main"_s;
    QVERIFY(darkestLine(icon, 48) < (hasLines ? 10 : 140));
    QApplication::setPalette(darkPalette());
    if (hasLines)
        QVERIFY(darkestLine(icon, 48) > 100);
}

void TestLook::selectedIconTakesTheColourOfItsRow()
{
    QPalette palette = darkPalette(); // plain and selected writing are both white here
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(palette);
    const QIcon icon = programIcon(u":res/iphone.png"_s);
    const auto drawn = [&](QIcon::Mode mode) { return icon.pixmap(QSize(48, 48), 1.0, mode).toImage(); };
    const QImage normal = drawn(QIcon::Normal);
    QVERIFY(normal != drawn(QIcon::Selected)); // the accent is gone
    QVERIFY(normal != drawn(QIcon::Disabled));
}

void TestLook::rowsArePlainAndShort_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("markup stays text") << u"<b>x</b>"_s << u"<b>x</b>"_s;
    QTest::newRow("line ends are blanks") << u"a\nb"_s << u"a b"_s;
    QTest::newRow("a megabyte is cut") << QString(1 << 20, u'x') << QString(500, u'x') + QChar(0x2026);
}

void TestLook::rowsArePlainAndShort()
{
    QFETCH(QString, text);
    const QString shown = PlainTextDelegate().displayText(text, QLocale::c());
    QTEST(shown, "shown");
}

void TestLook::toolTipsAreNoMarkup()
{
    QStandardItemModel model;
    auto *item = new QStandardItem(u"x"_s);
    item->setToolTip(u"<b>x</b>"_s);
    model.appendRow(item);
    MyTreeView view;
    view.setModel(&model);
    view.show();
    const QPoint place = view.visualRect(model.index(0, 0)).center();
    QHelpEvent event(QEvent::ToolTip, place, view.viewport()->mapToGlobal(place));
    QApplication::sendEvent(view.viewport(), &event);
    QTRY_VERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), u"<p>&lt;b&gt;x&lt;/b&gt;</p>"_s);
}

void TestLook::viewsTellOfSelectionAndMenu()
{
    QStandardItemModel model(3, 1);
    MyTreeView view;
    view.setModel(&model);
    view.show();
    const QSignalSpy selections(&view, &MyTreeView::onSelectionChanged);
    const QSignalSpy menus(&view, &MyTreeView::createContextMenu);
    const QPoint place = view.visualRect(model.index(1, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    QContextMenuEvent event(QContextMenuEvent::Mouse, place);
    QApplication::sendEvent(view.viewport(), &event);
    QCOMPARE(selections.count(), 1);
    QCOMPARE(menus.count(), 1);
}

QTEST_MAIN(TestLook)
#include "testlook.moc"
