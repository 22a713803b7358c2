#include "app/texts.h"
#include "testing/helpers/records.h"
#include "ui/models/itemmodelmain.h"
#include "ui/models/itemmodelsms.h"
#include "ui/views/mytreeview.h"
#include "ui/views/plaintextdelegate.h"

#include <QAbstractItemModelTester>
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
    second->store = Records().talk({person(u"+34600001"_s, u"Ana"_s)}).talk({}, u"b"_s).store;
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
    Records records;
    const auto chat = [&](qint64 rowid, const QString &identifier, const QList<_MsgHandle> &people,
                          int last) {
        records.talk(people, identifier).lastChat().rowid = rowid;
        records.lastChat()._last = last;
    };
    chat(-1947483647, u"old"_s, {person(u"1"_s, u"Deleted"_s)}, 10);
    chat(2, u"two"_s, {person(u"2"_s, u"SMS and iMessage"_s)}, 20);
    chat(3, u"two"_s, {person(u"3"_s, u"the same"_s)}, 50);
    // iOS 5 has such chats too.
    chat(-1947483646, u"mid"_s, {person(u"4"_s, u"<b>Mid</b>"_s, "\x89PNG, cut")}, 30);
    chat(5, u"nobody"_s, {}, 5);
    ItemModelMain model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = records.store;
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
    Records records;
    records.talk({person(u"+34600001"_s, u"Ana"_s)}).received(u"Hola"_s).last().isRecovered = true;
    records.sent(u"Hey"_s).received(u"alone"_s).last().chat = nullptr;
    _MsgMessage *event = &records.received({}).last();
    event->item_type = 99;
    event->chat = nullptr;
    ItemModelSms model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    model.setMessages({records.list(), records.store});
    QStringList rows;
    for (int row = 0; row < 4; ++row) {
        rows.append(QString());
        for (int column = 1; column < 4; ++column)
            rows.last() += model.index(row, column).data().toString() + u'|';
    }
    QCOMPARE(rows, QStringList({u"From|Ana (+34600001)|Hola|"_s, u"To|Ana (+34600001)|Hey|"_s,
                                u"From|unknown|alone|"_s, u"||System Information.\n04 Sep 2013 5:10 PM|"_s}));
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

QTEST_MAIN(TestModels)
#include "testmodels.moc"
