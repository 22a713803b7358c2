#include "app/datalocations.h"
#include "app/texts.h"
#include "backup/backupdiscovery.h"
#include "recovery/local/localdatabases.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/boxreader.h"
#include "testing/helpers/testdatabase.h"
#include "ui/dialogs/loaditunesbackupdlg.h"
#include "ui/dialogs/localdbselform.h"
#include "ui/dialogs/passcodedlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/flows/sourceloader.h"
#include "ui/mainwindow.h"
#include "ui/models/itemmodelmain.h"
#include "ui/models/sourcenodes.h"
#include "ui/pages/smsbrowser.h"
#include "ui/phonenotice.h"
#include "ui/views/messagepane.h"
#include "ui/views/mytreeview.h"
#include "ui/views/sourcepane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

/// Answers each dialog that opens, in turn, with what a person would do in it.
class DialogPlayer
{
public:
    using Step = std::function<bool(QWidget *dialog)>; ///< false: not the dialog to answer

    explicit DialogPlayer(const QList<Step> &toDo) : steps(toDo)
    {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!steps.isEmpty() && dialog && steps.first()(dialog))
                steps.removeFirst();
        });
        timer.start(5);
    }
    bool isDone() const { return steps.isEmpty(); }

private:
    QList<Step> steps;
    QTimer timer;
};

/// Presses `button` in a dialog of class `Dialog`, later: the press may open the next dialog. `prepare` says
/// whether the dialog is ready for it.
template <typename Dialog>
DialogPlayer::Step answer(const QString &button, const std::function<bool(Dialog *)> &prepare)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<Dialog *>(widget);
        if (!dialog || !prepare(dialog))
            return false;
        auto *pressed = dialog->template findChild<QPushButton *>(button);
        QTimer::singleShot(0, pressed, [pressed] { QTest::mouseClick(pressed, Qt::LeftButton); });
        return true;
    };
}

DialogPlayer::Step loadFirst()
{
    return answer<LoadItunesBackupDlg>(u"btnLoad"_s, [](LoadItunesBackupDlg *) { return true; });
}

/// A password that was refused is gone before the next one is typed.
DialogPlayer::Step typePassword(const QString &password)
{
    return answer<PasscodeDlg>(u"btnOK"_s, [password](PasscodeDlg *dialog) {
        auto *edit = dialog->findChild<QLineEdit *>();
        const bool isReady = dialog->isEnabled() && edit->text().isEmpty();
        if (isReady)
            edit->setText(password);
        return isReady;
    });
}

DialogPlayer::Step nameDatabase(const QString &name)
{
    return answer<LocalDbSelForm>(u"btnOK"_s, [name](LocalDbSelForm *dialog) {
        dialog->findChild<QComboBox *>()->setCurrentText(name);
        return true;
    });
}

DialogPlayer::Step nameFile(const QString &path, const QString &filter)
{
    return [=](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog)
            return false;
        if (!filter.isEmpty())
            dialog->selectNameFilter(filter);
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
        QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        return true;
    };
}

/// Closes the window and cancels the job as soon as a job's dialog shows.
class CancellingPerson : public QObject
{
public:
    explicit CancellingPerson(QWidget *closedWindow) : window(closedWindow)
    {
        qApp->installEventFilter(this);
    }
    bool stayedOpen = false;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (auto *form = qobject_cast<ProgressForm *>(watched); form && event->type() == QEvent::Show)
            QTimer::singleShot(0, form, [this, form] {
                window->close();
                stayedOpen = window->isVisible();
                QTest::mousePress(form->findChild<QPushButton *>(), Qt::LeftButton);
            });
        return false;
    }

private:
    QWidget *window;
};

/// Whether the window took the folder.
bool dropOn(QWidget &window, const QString &folder)
{
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(folder)});
    QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, {});
    enter.ignore();
    QApplication::sendEvent(&window, &enter);
    QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, {});
    if (enter.isAccepted())
        QApplication::sendEvent(&window, &drop);
    return enter.isAccepted();
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void importsWhatIsDroppedWithPasswordWrongThenRight();
    void showsDeletedMessagesInRed();
    void searchWraps();
    void headerThatIsNotDateTurnsToNewestFirst();
    void deletesSelectionThenConversationThenDatabase();
    void whatFailsToLoadLeavesNothingToDelete_data();
    void whatFailsToLoadLeavesNothingToDelete();
    void importIntoTheOneOnViewShowsItAnew();
    void quickSelectionsReadOneSourceOnce();
    void chatsAreReadOnce();
    void actionsFollowTheNode();
    void exportsEachFormatWhateverLeaves_data();
    void exportsEachFormatWhateverLeaves();
    void printsOnTheChosenPaper();
    void cancelledJobsLeaveAllAsItWas();
    void manyAndLongConversationsStayQuick();
    void switchesShowWhatIsHiddenAndAreRemembered();
    void whatPhonesNeedIsSaidUntilItIsClosed();

private:
    void fill(const QString &folder);
    /// Opens the window on the Local Database "Mine".
    void openMine()
    {
        fill(localDatabasesDir().filePath(u"Mine"_s));
        open();
        select(u"Mine"_s);
    }
    void select(const QString &title);
    template <typename Part>
    Part *part(const QString &name) const
    {
        return window->findChild<Part *>(name);
    }
    bool isOn(const QString &action) const { return part<QAction>(action)->isEnabled(); }
    int rows() const { return part<MyTreeView>(u"treeViewSMS"_s)->model()->rowCount(); }
    QStringList contents() const;
    /// Deletes the first row of the list.
    void deleteFirst()
    {
        const BoxReader yes(QMessageBox::Yes);
        const BoxReader ok;
        auto *list = part<MyTreeView>(u"treeViewSMS"_s);
        list->setCurrentIndex(list->model()->index(0, 0));
        window->miDelSel();
    }
    void open() { window = std::make_unique<MainWindow>(); }

    QTranslator translator;
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<MainWindow> window;
};

void TestMainWindow::initTestCase()
{
    installTexts(translator);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setFont(QFont(u"DejaVu Sans"_s)); // what fits on a page hangs on the font
}

void TestMainWindow::init()
{
    window.reset();
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dataRoot().removeRecursively());
    QVERIFY(QDir(defaultBackupRoot()).removeRecursively());
}

/// A source: two messages with one person, one with another.
void TestMainWindow::fill(const QString &folder)
{
    SmsDbBuilder builder{QDir(folder)};
    builder.chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Adios"_s);
    builder.chat(u"+34698765432"_s).received(u"Hola otra vez"_s).write();
}

void TestMainWindow::select(const QString &title)
{
    auto *tree = part<MyTreeView>(u"treeViewDS"_s);
    const QModelIndexList found = tree->model()->match(tree->model()->index(0, 0), Qt::DisplayRole, title, 1,
                                                       Qt::MatchExactly | Qt::MatchRecursive);
    QVERIFY2(!found.isEmpty(), qPrintable(title));
    tree->setCurrentIndex(found.first());
}

QStringList TestMainWindow::contents() const
{
    QStringList texts;
    const QAbstractItemModel *model = part<MyTreeView>(u"treeViewSMS"_s)->model();
    for (int row = 0; row < model->rowCount(); ++row)
        texts.append(model->index(row, 3).data().toString());
    return texts;
}

void TestMainWindow::importsWhatIsDroppedWithPasswordWrongThenRight()
{
    const QString sms = SmsDbBuilder(dir->path()).chat(u"+34612345678"_s).received(u"Hola"_s).write();
    BackupBuilder backup(QDir(dir->filePath(u"phone"_s)));
    const QString folder = backup.iterations(1000).password(u"moon"_s).messages(sms).write();
    open();
    QVERIFY(!dropOn(*window, dir->path())); // is no backup
    const BoxReader boxes;
    const DialogPlayer player(
        {loadFirst(), typePassword(u"sun"_s), typePassword(u"moon"_s), nameDatabase(u"Mine"_s)});
    QVERIFY(dropOn(*window, folder));
    QTRY_COMPARE(boxes.texts.size(), 2);
    QVERIFY(player.isDone());
    QCOMPARE(boxes.texts,
             QStringList({u"Invalid password."_s, u"Successfully Backup 1 SMS to local Database."_s}));
    QTRY_COMPARE(contents(), QStringList({u"Hola"_s}));
    QVERIFY(findLocalDatabase(u"mine"_s));
}

void TestMainWindow::showsDeletedMessagesInRed()
{
    SmsDbBuilder builder(QDir(dataRoot().filePath(u"virtual_ios/Phone"_s)));
    builder.chat(u"ann@example.org"_s, u"iMessage"_s).received(u"Hi"_s).received(u"lost"_s);
    const QString file = builder.received(u"Bye"_s).write();
    runOn(file, u"PRAGMA secure_delete=OFF; drop trigger clean_orphaned_handles2; delete from message where "
                "text='lost'"_s);
    BackupBuilder(QDir(defaultBackupRoot()).filePath(u"phone"_s)).messages(file).write();
    const QStringList all{u"Hi"_s, u"lost"_s, u"Bye"_s};
    const QString said = u"1 deleted SMS found. They are shown in red among the others."_s;
    open();
    const BoxReader boxes;
    select(u"Phone"_s);
    QVERIFY(isOn(u"actRecover"_s));
    window->miRecover();
    QCOMPARE(boxes.texts, QStringList(said));
    QCOMPARE(contents(), all);
    const QAbstractItemModel *model = part<MyTreeView>(u"treeViewSMS"_s)->model();
    QCOMPARE(model->index(1, 3).data(Qt::ForegroundRole).value<QColor>(), QColor(Qt::red));

    const DialogPlayer player({answer<LoadItunesBackupDlg>(u"btnLoad"_s,
                                                           [](LoadItunesBackupDlg *dialog) {
                                                               dialog->findChild<QCheckBox *>()->click();
                                                               return true;
                                                           }),
                               nameDatabase(u"Mine"_s)});
    window->miImportItunes();
    QVERIFY(player.isDone() && boxes.texts.contains(said));
    QCOMPARE(contents(), all);
    QVERIFY(!isOn(u"actRecover"_s));
}

void TestMainWindow::searchWraps()
{
    openMine();
    auto *list = part<MyTreeView>(u"treeViewSMS"_s);
    auto *words = part<QLineEdit>(u"txtSMSKeyword"_s);
    words->setText(u" hola "_s);
    QList<int> hits;
    for (int search = 0; search < 3; ++search) {
        QTest::keyClick(words, Qt::Key_Return);
        hits.append(list->currentIndex().row());
    }
    QCOMPARE(hits, QList<int>({0, 2, 0}));
    const BoxReader boxes;
    words->setText(u"<b>nix"_s);
    QTest::keyClick(words, Qt::Key_Return);
    QCOMPARE(boxes.texts, QStringList({u"Find no SMS with keyword &lt;b&gt;nix."_s}));
}

void TestMainWindow::headerThatIsNotDateTurnsToNewestFirst()
{
    openMine();
    const QStringList oldestFirst = contents();
    auto *header = part<MyTreeView>(u"treeViewSMS"_s)->header();
    header->setSortIndicator(2, Qt::AscendingOrder);
    QCOMPARE(header->sortIndicatorSection(), 0);
    QCOMPARE(header->sortIndicatorOrder(), Qt::DescendingOrder);
    QCOMPARE(contents(), QStringList(oldestFirst.rbegin(), oldestFirst.rend()));
}

void TestMainWindow::deletesSelectionThenConversationThenDatabase()
{
    openMine();
    const BoxReader yes(QMessageBox::Yes);
    const BoxReader ok;
    auto *list = part<MyTreeView>(u"treeViewSMS"_s);
    list->setCurrentIndex(list->model()->index(0, 0));
    for (int i = 0; i < 2; ++i) // as a key does that is held down: it asks once
        part<QAction>(u"actDel"_s)->trigger();
    QTRY_COMPARE(contents(), QStringList({u"Adios"_s, u"Hola otra vez"_s}));
    select(u"+34612345678"_s);
    QCOMPARE(contents(), QStringList({u"Adios"_s}));
    window->miDel();
    QCOMPARE(rows(), 0);
    QCOMPARE(countMessages(*findLocalDatabase(u"Mine"_s)), 1);
    select(u"Mine"_s);
    window->miDel();
    QVERIFY(!findLocalDatabase(u"Mine"_s));
    QCOMPARE(yes.texts.size(), 3);
    QCOMPARE(ok.texts.last(), u"Successfully Deleted Database Mine."_s);
}

void TestMainWindow::whatFailsToLoadLeavesNothingToDelete_data()
{
    QTest::addColumn<bool>("isLocked");
    QTest::newRow("locked by another program") << true;
    QTest::newRow("damaged") << false;
}

void TestMainWindow::whatFailsToLoadLeavesNothingToDelete()
{
    QFETCH(bool, isLocked);
    fill(localDatabasesDir().filePath(u"Bob"_s));
    const LocalDatabase bob = *findLocalDatabase(u"Bob"_s);
    openMine();
    const QByteArray whole = bytesOf(bob.file());
    {
        Sqlite3DB other;
        other.openThrow(bob.file(), sqliteReadWrite);
        if (isLocked)
            other.executeThrow(Sqlite3Sql("begin exclusive"));
        else
            QVERIFY(writeFile(bob.file(), QByteArray(4096, 'x')));
        const BoxReader boxes;
        select(u"Bob"_s);
        QCOMPARE(boxes.texts.size(), 1);
        QCOMPARE(rows(), 0); // and none of the database before
    }
    QVERIFY(isLocked || writeFile(bob.file(), whole));
    deleteFirst();
    const BoxReader boxes;
    window->miExportSel();
    window->miBackupSel();
    window->miDel();
    QVERIFY2(boxes.texts.size() == 3 && boxes.texts.first().contains(u"not on view"),
             qPrintable(boxes.texts.join(u'|')));
    select(u"Mine"_s);
    deleteFirst();
    QCOMPARE(rows(), 2);
    QCOMPARE(countMessages(*findLocalDatabase(u"Mine"_s)), 2);
    QCOMPARE(countMessages(bob), 3);
}

void TestMainWindow::importIntoTheOneOnViewShowsItAnew()
{
    const QString sms = SmsDbBuilder(dir->path()).chat(u"+34611111111"_s).received(u"Nuevo"_s).write();
    BackupBuilder(QDir(defaultBackupRoot()).filePath(u"phone"_s)).messages(sms).write();
    openMine();
    {
        const BoxReader boxes;
        const DialogPlayer player({loadFirst(), nameDatabase(u"Mine"_s)});
        window->miImportToLocalDb();
        QVERIFY(player.isDone());
    }
    QCOMPARE(rows(), 4);
    QVERIFY(contents().contains(u"Nuevo"_s));
    deleteFirst();
    QCOMPARE(rows(), 3);
    select(u"Local Databases"_s);
    select(u"Mine"_s);
    QCOMPARE(rows(), 3);
    QCOMPARE(countMessages(*findLocalDatabase(u"Mine"_s)), 3);
}

void TestMainWindow::quickSelectionsReadOneSourceOnce()
{
    const QString makeLarge = u"create table big(x); insert into big values(zeroblob(5000000))"_s;
    fill(localDatabasesDir().filePath(u"Bob"_s));
    fill(localDatabasesDir().filePath(u"Mine"_s));
    for (const LocalDatabase &database : localDatabases())
        runOn(database.file(), makeLarge);
    open();
    auto *sources = window->findChild<SourcePane *>();
    const QSignalSpy readings(sources, &SourcePane::becameIdle);
    select(u"Mine"_s);
    select(u"Bob"_s);
    QTRY_COMPARE(rows(), 3);
    QCOMPARE(readings.count(), 1);
    const BoxReader boxes;
    sources->use(*sources->localDatabase(u"Mine"_s), [&](AbsIOSMessageDb &) {
        select(u"Mine"_s);
        QCoreApplication::processEvents();
        window->miExportAll();
        deleteFirst();
    });
    QVERIFY2(boxes.texts.size() == 1 && boxes.texts.first().contains(u"is being read"),
             qPrintable(boxes.texts.join(u'|')));
    QTRY_COMPARE(rows(), 3);
    QCOMPARE(readings.count(), 3);
    deleteFirst();
    QCOMPARE(countMessages(*findLocalDatabase(u"Mine"_s)), 2);
}

void TestMainWindow::chatsAreReadOnce()
{
    struct CountingDb : IOS6MessageDb {
        using IOS6MessageDb::IOS6MessageDb;
        void chats(_MsgStorePtr &store) override
        {
            ++readings;
            IOS6MessageDb::chats(store);
        }
        int readings = 0;
    };
    fill(dir->path());
    CountingDb db(QDir(dir->path()), {}, false);
    const _MsgStorePtr store = readSource(db, Recovered::Shown);
    QCOMPARE(db.readings, 1);
    QCOMPARE(store->chats.size(), 2);
}

void TestMainWindow::actionsFollowTheNode()
{
    SmsDbBuilder phone(QDir(dataRoot().filePath(u"virtual_ios/Phone"_s)));
    phone.chat(u"+34611111111"_s).sent(u"Si"_s).write();
    openMine();
    const auto states = [this] {
        return QList<bool>{isOn(u"actDb2I"_s), isOn(u"actBackup"_s), isOn(u"actExport"_s),
                           isOn(u"actPrint"_s), isOn(u"actDel"_s)};
    };
    QCOMPARE(states(), QList<bool>({true, false, true, true, true}));
    select(u"+34611111111"_s);
    QCOMPARE(contents(), QStringList({u"Si"_s}));
    QCOMPARE(states(), QList<bool>({false, true, true, true, false}));
    select(u"Local Databases"_s);
    QCOMPARE(states(), QList<bool>({false, false, false, false, false}));
    select(u"Phone"_s);
    window->miUnmoutDevice();
    QCOMPARE(rows(), 0);
    select(u"Mine"_s);
    QVERIFY(!isOn(u"actDb2I"_s));
}

void TestMainWindow::exportsEachFormatWhateverLeaves_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("made");
    QTest::newRow("a typed suffix stays") << u"Text Files(*.txt)"_s << u"out.log"_s << u"out.log"_s;
    QTest::newRow("doc") << u"Doc Files(*.doc)"_s << u"out"_s << u"out.doc"_s;
    QTest::newRow("csv") << u"CSV Files(*.csv)"_s << u"out"_s << u"out.csv"_s;
    QTest::newRow("pdf") << u"PDF Files(*.pdf)"_s << u"out.pdf"_s << u"out-pdf/+34612345678.pdf"_s;
    QTest::newRow("html") << u"HTML Files(*.html)"_s << u"out.html"_s << u"out-html/+34612345678.html"_s;
}

void TestMainWindow::exportsEachFormatWhateverLeaves()
{
    QFETCH(QString, filter);
    QFETCH(QString, typed);
    QFETCH(QString, made);
    fill(dataRoot().filePath(u"virtual_ios/Phone"_s));
    open();
    select(u"Phone"_s);
    const BoxReader boxes;
    const DialogPlayer::Step name = nameFile(dir->filePath(typed), filter);
    const DialogPlayer player({[&](QWidget *dialog) {
        window->iosDeviceDisconnected(nullptr); // the phone leaves while the dialog is open
        return name(dialog);
    }});
    window->miExport();
    QCOMPARE(boxes.texts, QStringList({u"Successfully exported 3 SMS."_s}));
    QVERIFY2(QFileInfo(dir->filePath(made)).size() > 0, qPrintable(made));
    QCOMPARE(rows(), 0);
}

void TestMainWindow::printsOnTheChosenPaper()
{
    SmsDbBuilder builder(QDir(localDatabasesDir().filePath(u"Mine"_s)));
    builder.chat(u"+34612345678"_s);
    for (int i = 0; i < 12; ++i)
        builder.sent(u"one\ntwo\nthree\nfour\nfive"_s);
    builder.write();
    open();
    select(u"Mine"_s);
    QList<int> pages;
    const DialogPlayer player({[&](QWidget *widget) {
        auto *preview = qobject_cast<QPrintPreviewDialog *>(widget);
        auto *seen = preview->findChild<QPrintPreviewWidget *>();
        for (const QPageSize::PageSizeId paper : {QPageSize::A4, QPageSize::A6}) {
            preview->printer()->setPageSize(QPageSize(paper));
            seen->updatePreview();
            pages.append(seen->pageCount());
        }
        preview->reject();
        return true;
    }});
    window->miPrint();
    // A message is 143 units tall and followed by a gap of 30: five stand on A4, two on A6.
    QCOMPARE(pages, QList<int>({3, 6}));
}

void TestMainWindow::cancelledJobsLeaveAllAsItWas()
{
    constexpr int count = 20'000;
    SmsDbBuilder builder(QDir(localDatabasesDir().filePath(u"Mine"_s)));
    builder.chat(u"+34612345678"_s);
    for (int i = 0; i < count; ++i)
        builder.sent(u"text %1"_s.arg(i));
    builder.write();
    open();
    const BoxReader yes(QMessageBox::Yes);
    for (void (MainWindow::*job)() :
         {&MainWindow::miExportAll, &MainWindow::miBackupAll, &MainWindow::miDelChat}) {
        window->show();
        select(u"Mine"_s);
        QTRY_COMPARE(rows(), count);
        select(u"+34612345678"_s);
        const BoxReader boxes;
        const DialogPlayer::Step file = nameFile(dir->filePath(u"out.txt"_s), {});
        const DialogPlayer::Step database = nameDatabase(u"New"_s);
        const DialogPlayer player({[&](QWidget *dialog) { return file(dialog) || database(dialog); }});
        const CancellingPerson person(window.get());
        (window.get()->*job)();
        QVERIFY(person.stayedOpen);
        QTRY_VERIFY(!window->isVisible());
        QCOMPARE(boxes.texts, QStringList());
    }
    QVERIFY(QDir(dir->path()).isEmpty() && !findLocalDatabase(u"New"_s));
    QCOMPARE(countMessages(*findLocalDatabase(u"Mine"_s)), count);
    QCOMPARE(rows(), count);
}

void TestMainWindow::manyAndLongConversationsStayQuick()
{
    SmsDbBuilder builder(QDir(localDatabasesDir().filePath(u"Mine"_s)));
    QStringList people;
    for (int i = 0; i < 10'000; ++i) {
        people.append(u"+34"_s + QString::number(600'000'000 + i));
        builder.chat(people.last()).received(u"Hola"_s);
    }
    builder.group(people.mid(0, 400)).sent(u"Hola a todos"_s).write();
    open();
    window->show();
    QElapsedTimer timer;
    timer.start();
    select(u"Mine"_s);
    QTRY_COMPARE(rows(), 10'001);
    window->grab();
    const BoxReader boxes;
    part<QLineEdit>(u"txtHandleKeyword"_s)->setText(people.at(399));
    QTest::keyClick(part<QLineEdit>(u"txtHandleKeyword"_s), Qt::Key_Return);
    QCOMPARE(contents(), QStringList{u"Hola a todos"_s}); // the newest, with 5,000 characters of title
    QVERIFY(window->width() < 3'000);
    QVERIFY(timer.elapsed() < 20'000);
}

void TestMainWindow::switchesShowWhatIsHiddenAndAreRemembered()
{
    SmsDbBuilder builder(QDir(dir->path()), IosVersion::Ios18);
    builder.chat(u"+34611111111"_s).samePerson(u"ann"_s).received(u"Hola 😀"_s).ownReaction(2000);
    builder.sent(u"<i>first"_s).edited(u"second"_s);
    builder.chat(u"ann@example.org"_s).samePerson(u"ann"_s).received(u"Otra"_s).rowid(20);
    builder.received(u"Borrado"_s).recentlyDeleted().write();
    open();
    auto *tree = part<MyTreeView>(u"treeViewDS"_s);
    const auto conversations = [&] {
        return tree->model()->rowCount(tree->model()->index(0, 0, tree->model()->index(0, 0)));
    };
    const auto addPhone = [&] {
        IOSDevice phone;
        phone.deviceName = u"Phone"_s;
        phone.uniqueDeviceID = dir->path();
        QSharedPointer<AbsIOSMessageDb> db(openMessageDb(QDir(dir->path()), {}).release());
        window->findChild<SourcePane *>()->model().addDevice(db, phone);
        select(u"Phone"_s);
    };
    addPhone();
    QCOMPARE(contents(), QStringList({u"Hola [EMOJI]"_s, u"second"_s, u"Otra"_s}));
    QCOMPARE(conversations(), 2);
    for (const QString &name : {u"showEmoji"_s, u"showRecentlyDeleted"_s, u"onePerson"_s, u"showMissing"_s})
        part<QAction>(name)->trigger();
    QTRY_COMPARE(contents(), QStringList({u"Hola 😀"_s, u"second"_s, u"Otra"_s, u"Borrado"_s}));
    QTRY_VERIFY2(part<QLabel>(u"lbNotice"_s)->text().contains(u"missing between"_s),
                 qPrintable(part<QLabel>(u"lbNotice"_s)->text()));
    QCOMPARE(conversations(), 1);
    auto *page = part<SmsBrowser>(u"txtSMS"_s);
    QVERIFY2(page->toPlainText().contains(u"You loved this"_s), qPrintable(page->toPlainText()));
    QVERIFY(!page->toPlainText().contains(u"<i>first"_s));
    const QString link = QRegularExpression(u"/history\\?\\d+"_s).match(page->toHtml()).captured();
    page->onAnchorClicked(QUrl(link));
    QVERIFY2(page->toPlainText().contains(u"<i>first"_s), qPrintable(page->toPlainText()));
    open();
    tree = part<MyTreeView>(u"treeViewDS"_s);
    addPhone();
    QCOMPARE(conversations(), 1);
    QVERIFY(isOn(u"showEmoji"_s) && part<QAction>(u"showEmoji"_s)->isChecked());
}

void TestMainWindow::whatPhonesNeedIsSaidUntilItIsClosed()
{
    open();
    showPhoneNotice(*window, {});
    QVERIFY(!part<QWidget>(u"phoneNotice"_s));
    showPhoneNotice(*window, {u"no service (package usbmuxd)"_s});
    window->show();
    auto *bar = part<QWidget>(u"phoneNotice"_s);
    QVERIFY(bar->isVisible() && bar->findChild<QLabel *>()->text().contains(u"usbmuxd"_s));
    QTest::mouseClick(part<QToolButton>(u"btnCloseNotice"_s), Qt::LeftButton);
    QVERIFY(!bar->isVisible());
    open();
    showPhoneNotice(*window, {u"no service (package usbmuxd)"_s});
    QVERIFY(!part<QWidget>(u"phoneNotice"_s));
}

QTEST_MAIN(TestMainWindow)
#include "testmainwindow.moc"
