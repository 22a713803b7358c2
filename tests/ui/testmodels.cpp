#include "itemmodelmain.h"
#include "itemmodelsms.h"
#include "messagefixture.h"
#include "mytreeview.h"
#include "plaintextdelegate.h"
#include "texts.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;
using Mode = QAbstractItemModelTester::FailureReportingMode;

class TestModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void sourcesComeAndGo();
    void sessionsStandNewestFirst();
    void messageRows();
    void rowsArePlainAndShort();
    void twoHundredThousandMessages();

private:
    QTranslator translator;
};

void TestModels::sourcesComeAndGo()
{
    ItemModelMain model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    MyTreeView view;
    view.setModel(&model);
    _IOSDeviceItemNode *first = model.addDevice({}, {});
    _IOSDeviceItemNode *second = model.addDevice({}, {});
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)}).chat(2, u"b"_s, {});
    second->store = fixture.store;
    model.loadSessions(second);
    const QPersistentModelIndex session = model.index(0, 0, model.indexOf(second));
    view.setCurrentIndex(session);
    const QSignalSpy changes(&view, &MyTreeView::onSelectionChanged);
    model.removeNode(first);
    QVERIFY(changes.isEmpty());
    QCOMPARE(session.parent().row(), 0); // moved up with its phone
    QCOMPARE(session.data().toString(), u"Ana"_s);
    QVERIFY(view.selectionModel()->isSelected(session));
    model.removeNode(second);
    QVERIFY(!view.selectionModel()->hasSelection() && !changes.isEmpty());
    model.removeChildren(nullptr);
    QCOMPARE(model.rowCount(), 0);
}

void TestModels::sessionsStandNewestFirst()
{
    MessageFixture fixture;
    fixture.chat(-1947483647, u"old"_s, {fixture.person(u"Deleted"_s)}, 10)
        .chat(2, u"two"_s, {fixture.person(u"SMS and iMessage"_s)}, 20)
        .chat(3, u"two"_s, {fixture.person(u"the same"_s)}, 50)
        .chat(-1947483646, u"mid"_s, {fixture.person(u"<b>Mid</b>"_s, "\x89PNG, cut")},
              30) // iOS 5 has such chats too
        .chat(5, u"nobody"_s, {}, 5);
    ItemModelMain model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = fixture.store;
    model.loadSessions(node);
    model.loadSessions(node); // again, and none is there twice
    QStringList titles;
    for (int row = 0; row < model.rowCount(model.indexOf(node)); ++row) {
        const QModelIndex session = model.index(row, 0, model.indexOf(node));
        const bool isRed = session.data(Qt::ForegroundRole).value<QColor>() == QColor(255, 0, 0);
        QVERIFY(!session.data(Qt::DecorationRole).value<QIcon>().isNull());
        titles.append(session.data().toString() + (isRed ? u" in red"_s : u""_s));
    }
    QCOMPARE(titles,
             QStringList({u"SMS and iMessage"_s, u"<b>Mid</b>"_s, u"Deleted in red"_s, u"Unknown"_s}));
}

void TestModels::messageRows()
{
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)});
    fixture.message(u"Hola"_s)->isRecovered = true;
    fixture.message(u"Hey"_s, 1);
    fixture.message(u"alone"_s)->chat = nullptr;
    _MsgMessage *event = fixture.message({});
    event->item_type = 99;
    event->chat = nullptr;
    ItemModelSms model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    model.setMessages(fixture.messages(4));
    QStringList rows;
    for (int row = 0; row < 4; ++row)
        for (int column = 1; column < 4; ++column)
            rows.append(model.index(row, column).data().toString());
    const QString who = u"Ana (+34600001)"_s;
    QCOMPARE(rows, QStringList({u"From"_s,
                                who,
                                u"Hola"_s,
                                u"To"_s,
                                who,
                                u"Hey"_s,
                                u"From"_s,
                                u"unknown"_s,
                                u"alone"_s,
                                {},
                                {},
                                u"System Information.\n04 Sep 2013 5:10 PM"_s}));
    QCOMPARE(ItemModelSms::messageOf(model.indexOfRow(3)), event);
    QCOMPARE(ItemModelSms::messageOf(model.index(3, 3)), nullptr); // a selected row yields one message
    QCOMPARE(model.indexOfRow(0).data(Qt::ForegroundRole).value<QColor>(), QColor(255, 0, 0));
    QVERIFY(!model.indexOfRow(1).data(Qt::ForegroundRole).isValid());
}

void TestModels::rowsArePlainAndShort()
{
    const auto row = [](const QString &text) { return PlainTextDelegate().displayText(text, QLocale::c()); };
    QCOMPARE(row(u"<b>a\nb</b>"_s), u"<b>a b</b>"_s);
    QCOMPARE(row(QString(1 << 20, u'x')), QString(500, u'x') + QChar(0x2026));
}

void TestModels::twoHundredThousandMessages()
{
    MessageFixture fixture;
    const QList<_MsgMessage *> messages = fixture.messages(200'000);
    messages.last()->text = QString(1 << 20, u'x');
    ItemModelSms model;
    MyTreeView view;
    view.setModel(&model);
    view.show();
    QElapsedTimer timer;
    timer.start();
    model.setMessages(messages);
    view.grab();
    view.setCurrentIndex(model.indexOfRow(199'999));
    view.grab();
    QVERIFY(view.viewport()->rect().intersects(view.visualRect(model.indexOfRow(199'999))));
    QVERIFY(timer.elapsed() < 2'000);
}

QTEST_MAIN(TestModels)
#include "testmodels.moc"
