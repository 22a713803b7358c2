#include "itemmodelmain.h"
#include "itemmodelsms.h"
#include "messagefixture.h"
#include "mytreeview.h"
#include "programicon.h"
#include "texts.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QPalette>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;
using Mode = QAbstractItemModelTester::FailureReportingMode;

namespace
{

QStringList textsBelow(const QAbstractItemModel &model, const QModelIndex &parent)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(parent); ++row)
        texts.append(model.index(row, 0, parent).data().toString());
    return texts;
}

QImage shown(const QVariant &icon)
{
    return icon.value<QIcon>().pixmap(QSize(18, 18), 1.0).toImage().convertToFormat(QImage::Format_RGB32);
}

IOSDevice phoneNamed(const QString &name)
{
    IOSDevice device;
    device.deviceName = name;
    return device;
}

} // namespace

class TestModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void cleanup() { QApplication::setPalette(QPalette()); }
    void sourcesComeAndGo();
    void nodesComeDepthFirst();
    void sessionsStandNewestFirst();
    void sessionsOfDeletedChatsAreRed_data();
    void sessionsOfDeletedChatsAreRed();
    void sessionIcons_data();
    void sessionIcons();
    void removalEmptiesTheSelection_data();
    void removalEmptiesTheSelection();
    void tenThousandConversations();
    void messageCells_data();
    void messageCells();
    void messageRows();
    void darkPaletteGetsDarkRows();
    void twoHundredThousandMessages();

private:
    QTranslator translator;
};

void TestModels::sourcesComeAndGo()
{
    ItemModelMain model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    _IOSDeviceItemNode *first = model.addDevice({}, phoneNamed(u"iPhone"_s));
    _IOSDeviceItemNode *second = model.addDevice({}, phoneNamed(u"iPhone"_s));
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)});
    second->store = fixture.store;
    model.loadSessions(second);
    const QPersistentModelIndex session = model.index(0, 0, model.indexOf(second));
    model.addLocalDb({}, u"Old"_s);
    QCOMPARE(textsBelow(model, model.indexOf(model.rootDevice)), QStringList({u"iPhone"_s, u"iPhone"_s}));
    model.removeNode(first);
    QCOMPARE(session.parent().row(), 0); // moved up with its phone
    QCOMPARE(session.data().toString(), u"Ana"_s);
    model.removeNode(second);
    QVERIFY(!session.isValid());
    model.removeChildren(nullptr);
    QCOMPARE(model.rowCount(), 0);
}

void TestModels::nodesComeDepthFirst()
{
    ItemModelMain model;
    model.addDevice({}, phoneNamed(u"A"_s));
    model.addLocalDb({}, u"B"_s);
    QStringList texts;
    for (const AbsTreeItemModel::_ItemNode *node : model.allNodes())
        texts.append(node->text);
    QCOMPARE(texts, QStringList({u"Devices"_s, u"A"_s, u"Local Databases"_s, u"B"_s}));
}

void TestModels::sessionsStandNewestFirst()
{
    MessageFixture fixture;
    fixture.chat(1, u"old"_s, {fixture.person(u"Old"_s)}, 10)
        .chat(2, u"two"_s, {fixture.person(u"SMS and iMessage"_s)}, 20)
        .chat(3, u"two"_s, {fixture.person(u"the same"_s)}, 50)
        .chat(4, u"mid"_s, {fixture.person(u"<b>Mid</b>"_s)}, 30)
        .chat(5, u"nobody"_s, {}, 5);
    ItemModelMain model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = fixture.store;
    const QStringList expected{u"SMS and iMessage"_s, u"<b>Mid</b>"_s, u"Old"_s, u"Unknown"_s};
    for (int again = 0; again < 2; ++again) {
        model.loadSessions(node);
        QCOMPARE(textsBelow(model, model.indexOf(node)), expected);
    }
}

void TestModels::sessionsOfDeletedChatsAreRed_data()
{
    QTest::addColumn<qint64>("rowid");
    QTest::addColumn<bool>("red");
    QTest::newRow("madrid chat of iOS 5") << qint64(-7) << false;
    QTest::newRow("at the bound") << qint64(-1947483646) << false;
    QTest::newRow("below it") << qint64(-1947483647) << true;
}

void TestModels::sessionsOfDeletedChatsAreRed()
{
    QFETCH(qint64, rowid);
    MessageFixture fixture;
    fixture.chat(rowid, u"a"_s, {});
    ItemModelMain model;
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = fixture.store;
    model.loadSessions(node);
    const QVariant colour = model.index(0, 0, model.indexOf(node)).data(Qt::ForegroundRole);
    QTEST(colour.isValid(), "red");
    QVERIFY(!colour.isValid() || colour.value<QColor>() == QColor(255, 0, 0));
}

void TestModels::sessionIcons_data()
{
    QTest::addColumn<QList<QByteArray>>("photos");
    QTest::addColumn<QString>("kind");
    const QByteArray png = MessageFixture::photo("PNG", Qt::green);
    QTest::newRow("JPEG") << QList{MessageFixture::photo("JPEG", Qt::green)} << u"photo"_s;
    QTest::newRow("PNG") << QList{png} << u"photo"_s;
    QTest::newRow("no photo") << QList<QByteArray>{{}} << u"contact"_s;
    QTest::newRow("no picture") << QList{QByteArray("<svg/>")} << u"contact"_s;
    QTest::newRow("cut picture") << QList{png.first(20)} << u"contact"_s;
    QTest::newRow("a group with photos") << QList{png, png} << u"group"_s;
    QTest::newRow("nobody") << QList<QByteArray>() << u"contact"_s;
}

void TestModels::sessionIcons()
{
    QFETCH(QList<QByteArray>, photos);
    QFETCH(QString, kind);
    MessageFixture fixture;
    QList<_MsgHandle *> people;
    for (const QByteArray &photo : std::as_const(photos))
        people.append(fixture.person(u"x"_s, photo));
    fixture.chat(1, u"a"_s, people);
    ItemModelMain model;
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = fixture.store;
    model.loadSessions(node);
    const QImage image = shown(model.index(0, 0, model.indexOf(node)).data(Qt::DecorationRole));
    if (kind == "photo"_L1) {
        const QColor middle = image.pixelColor(9, 9);
        QVERIFY(middle.green() > 240 && middle.red() < 15);
    } else {
        QCOMPARE(image, shown(programIcon(u":res/%1.png"_s.arg(kind))));
    }
}

void TestModels::removalEmptiesTheSelection_data()
{
    QTest::addColumn<int>("removed"); // the row among the phones
    QTest::addColumn<bool>("stays");
    QTest::newRow("the phone of the selected conversation") << 0 << false;
    QTest::newRow("another phone") << 1 << true;
}

void TestModels::removalEmptiesTheSelection()
{
    QFETCH(int, removed);
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {}).chat(2, u"b"_s, {});
    ItemModelMain model;
    _IOSDeviceItemNode *device = model.addDevice({}, {});
    device->store = fixture.store;
    model.loadSessions(device);
    model.addDevice({}, {});
    MyTreeView view;
    view.setModel(&model);
    view.expandAll();
    view.setCurrentIndex(model.index(0, 0, model.indexOf(device)));
    const QSignalSpy changes(&view, &MyTreeView::onSelectionChanged);
    model.removeNode(model.rootDevice->children.at(removed));
    QTEST(view.selectionModel()->hasSelection(), "stays");
    QCOMPARE(changes.count() == 0, view.selectionModel()->hasSelection());
}

void TestModels::tenThousandConversations()
{
    MessageFixture fixture;
    const QByteArray photo = MessageFixture::photo("JPEG", Qt::blue);
    for (int i = 1; i <= 10'000; ++i)
        fixture.chat(i, QString::number(i), {fixture.person(u"Person %1"_s.arg(i), photo)}, i);
    ItemModelMain model;
    _LocalDBItemNode *node = model.addLocalDb({}, u"x"_s);
    node->store = fixture.store;
    MyTreeView view;
    view.setModel(&model);
    view.show();
    QElapsedTimer timer;
    timer.start();
    model.loadSessions(node);
    view.expandAll();
    view.scrollToBottom();
    view.grab();
    qInfo() << "10,000 conversations on view after" << timer.elapsed() << "ms";
    const QModelIndex last = model.index(9'999, 0, model.indexOf(node));
    QVERIFY(view.viewport()->rect().intersects(view.visualRect(last)));
    QVERIFY(timer.elapsed() < 5'000);
}

void TestModels::messageCells_data()
{
    using Change = std::function<void(_MsgMessage &)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<QStringList>("cells");
    const QString date =
        QLocale::system().toString(QDateTime::fromSecsSinceEpoch(1'378'307'260), QLocale::ShortFormat);
    const QString who = u"Ana (+34600001)"_s;
    QTest::newRow("received") << Change([](_MsgMessage &) {}) << QStringList{date, u"From"_s, who, u"Hola"_s};
    QTest::newRow("sent") << Change([](_MsgMessage &m) { m.is_from_me = 1; })
                          << QStringList{date, u"To"_s, who, u"Hola"_s};
    QTest::newRow("without a chat") << Change([](_MsgMessage &m) { m.chat = nullptr; })
                                    << QStringList{date, u"From"_s, u"unknown"_s, u"Hola"_s};
    QTest::newRow("emoji") << Change([](_MsgMessage &m) { m.text = u"\U0001F604"_s; })
                           << QStringList{date, u"From"_s, who, u"[EMOJI]"_s};
    QTest::newRow("event") << Change([](_MsgMessage &m) {
        m.item_type = 99;
    }) << QStringList{date, u""_s, u"Ana"_s, u"System Information.\n04 Sep 2013 5:7 PM"_s};
    QTest::newRow("event without a chat")
        << Change([](_MsgMessage &m) { m.item_type = 99, m.chat = nullptr; })
        << QStringList{date, u""_s, u""_s, u"System Information.\n04 Sep 2013 5:7 PM"_s};
}

void TestModels::messageCells()
{
    QFETCH(std::function<void(_MsgMessage &)>, change);
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)});
    change(*fixture.message(u"Hola"_s));
    ItemModelSms model;
    model.setMessages(fixture.messages(1));
    QStringList cells;
    for (int column = 0; column < model.columnCount(); ++column)
        cells.append(model.index(0, column).data().toString());
    QTEST(cells, "cells");
}

void TestModels::messageRows()
{
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)});
    const QList<_MsgMessage *> messages = fixture.messages(3);
    messages[1]->isRecovered = true;
    messages[2]->service = u"IMESSAGE"_s;
    ItemModelSms model;
    const QAbstractItemModelTester tester(&model, Mode::QtTest);
    model.setMessages(messages);
    const auto at = [&](int row, int role) { return model.indexOfRow(row).data(role); };
    QCOMPARE(ItemModelSms::messageOf(model.indexOfRow(1)), messages[1]);
    QCOMPARE(ItemModelSms::messageOf(model.index(1, 3)), nullptr);
    QVERIFY(!model.indexOfRow(3).isValid());
    QCOMPARE(at(0, Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::white));
    QCOMPARE(at(1, Qt::BackgroundRole).value<QBrush>().color(), QColor(245, 255, 226));
    QCOMPARE(at(1, Qt::ForegroundRole).value<QColor>(), QColor(255, 0, 0));
    QVERIFY(!at(0, Qt::ForegroundRole).isValid());
    QCOMPARE(shown(at(0, Qt::DecorationRole)), shown(programIcon(u":res/icon_sms-receive.png"_s)));
    QCOMPARE(shown(at(1, Qt::DecorationRole)), shown(programIcon(u":res/icon_sms-sent.png"_s)));
    QCOMPARE(shown(at(2, Qt::DecorationRole)), shown(programIcon(u":res/imsg-rec.png"_s)));
    QCOMPARE(model.headerData(3, Qt::Horizontal, Qt::DisplayRole).toString(), u"Content"_s);
    model.clear();
    QCOMPARE(model.rowCount(), 0);
}

void TestModels::darkPaletteGetsDarkRows()
{
    QPalette dark(Qt::white, Qt::darkGray, Qt::gray, Qt::black, Qt::gray, Qt::white, Qt::black);
    QApplication::setPalette(dark);
    MessageFixture fixture;
    ItemModelSms model;
    model.setMessages(fixture.messages(2));
    QVERIFY(!model.indexOfRow(0).data(Qt::BackgroundRole).isValid());
    QVERIFY(model.indexOfRow(1).data(Qt::BackgroundRole).value<QBrush>().color().lightness() < 80);
}

void TestModels::twoHundredThousandMessages()
{
    MessageFixture fixture;
    fixture.chat(1, u"a"_s, {fixture.person(u"Ana"_s)});
    const QList<_MsgMessage *> messages = fixture.messages(200'000);
    messages.last()->text = QString(1 << 20, u'x') + u"\n<b>"_s;
    ItemModelSms model;
    MyTreeView view;
    view.setModel(&model);
    view.resize(800, 600);
    view.show();
    QElapsedTimer timer;
    timer.start();
    model.setMessages(messages);
    view.grab();
    const qint64 first = timer.restart();
    view.setCurrentIndex(model.indexOfRow(199'999));
    view.grab();
    qInfo() << "200,000 messages:" << first << "ms to the first rows," << timer.elapsed() << "ms to the last";
    QVERIFY(view.viewport()->rect().intersects(view.visualRect(model.indexOfRow(199'999))));
    QVERIFY(first < 2'000);
}

QTEST_MAIN(TestModels)
#include "testmodels.moc"
