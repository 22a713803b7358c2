#include "backupbuilder.h"
#include "backupdiscovery.h"
#include "boxreader.h"
#include "datalocations.h"
#include "ios6messagedb.h"
#include "itemmodelmain.h"
#include "loaditunesbackupdlg.h"
#include "localdatabases.h"
#include "localdbselform.h"
#include "mainwindow.h"
#include "messagepane.h"
#include "mytreeview.h"
#include "openmessagedb.h"
#include "passcodedlg.h"
#include "smsdbbuilder.h"
#include "sourcenodes.h"
#include "texts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
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

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void init();
    void importsWithPasswordWrongThenRight();
    void importsTwiceWithoutDoubles();
    void showsDeletedMessagesInRed();
    void searchWraps();
    void headerThatIsNotDateTurnsToNewestFirst();
    void deletesSelectionThenConversationThenDatabase();
    void actionsFollowTheNode();
    void exportsWithTheTypedSuffix();
    void closingWaitsForTheDialog();

private:
    void makeDatabase(const QString &name);
    void select(const QString &title);
    template <typename Part>
    Part *part(const QString &name) const
    {
        return window->findChild<Part *>(name);
    }
    bool isOn(const QString &action) const { return part<QAction>(action)->isEnabled(); }
    int rows() const { return part<MyTreeView>(u"treeViewSMS"_s)->model()->rowCount(); }
    QStringList contents() const;
    void open() { window = std::make_unique<MainWindow>(); }

    QTranslator translator;
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<MainWindow> window;
};

void TestMainWindow::init()
{
    window.reset();
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dataRoot().removeRecursively());
    QVERIFY(QDir(defaultBackupRoot()).removeRecursively());
}

/// A Local Database: two messages with one person, one with another.
void TestMainWindow::makeDatabase(const QString &name)
{
    const QDir root(localDatabasesDir().filePath(name));
    SmsDbBuilder(root)
        .chat(u"+34612345678"_s)
        .received(u"Hola"_s)
        .sent(u"Adios"_s)
        .chat(u"+34698765432"_s)
        .received(u"Hola otra vez"_s)
        .write();
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

void TestMainWindow::importsWithPasswordWrongThenRight()
{
    const QString sms = SmsDbBuilder(dir->path()).chat(u"+34612345678"_s).received(u"Hola"_s).write();
    BackupBuilder(QDir(defaultBackupRoot()).filePath(u"phone"_s))
        .iterations(1000)
        .password(u"moon"_s)
        .messages(sms)
        .write();
    open();
    const BoxReader boxes;
    const DialogPlayer player(
        {loadFirst(), typePassword(u"sun"_s), typePassword(u"moon"_s), nameDatabase(u"Mine"_s)});
    window->miImportItunes();
    QVERIFY(player.isDone());
    QCOMPARE(boxes.texts,
             QStringList({u"Invalid password."_s, u"Successfully Backup 1 SMS to local Database."_s}));
    QCOMPARE(contents(), QStringList({u"Hola"_s}));
    QVERIFY(findLocalDatabase(u"mine"_s));
}

void TestMainWindow::importsTwiceWithoutDoubles()
{
    const QString sms = SmsDbBuilder(dir->path()).chat(u"+34612345678"_s).received(u"Hola"_s).write();
    BackupBuilder(QDir(defaultBackupRoot()).filePath(u"phone"_s)).messages(sms).write();
    open();
    const BoxReader boxes;
    for (int run = 0; run < 2; ++run) {
        const DialogPlayer player({loadFirst(), nameDatabase(run ? u"mine"_s : u"Mine"_s)});
        window->miImportItunes();
        QVERIFY(player.isDone());
        QCOMPARE(rows(), 1);
    }
    QCOMPARE(localDatabases().size(), 1);
}

void TestMainWindow::showsDeletedMessagesInRed()
{
    QTemporaryDir source;
    const auto write = [&](const QString &root) {
        Sqlite3DB db;
        db.openThrow(SmsDbBuilder(QDir(root))
                         .chat(u"ann@example.org"_s, u"iMessage"_s)
                         .received(u"Hi"_s)
                         .received(u"lost"_s)
                         .received(u"Bye"_s)
                         .write(),
                     sqliteReadWrite);
        QString error;
        QCOMPARE(db.exec(u"PRAGMA secure_delete=OFF; drop trigger clean_orphaned_handles2; delete from "
                         "message where text='lost'"_s,
                         error),
                 0);
    };
    write(dataRoot().filePath(u"virtual_ios/Phone"_s));
    write(source.path());
    BackupBuilder(QDir(defaultBackupRoot()).filePath(u"phone"_s))
        .messages(messageDbPath(QDir(source.path())))
        .write();
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
    makeDatabase(u"Mine"_s);
    open();
    select(u"Mine"_s);
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
    makeDatabase(u"Mine"_s);
    open();
    select(u"Mine"_s);
    const QStringList oldestFirst = contents();
    auto *header = part<MyTreeView>(u"treeViewSMS"_s)->header();
    header->setSortIndicator(2, Qt::AscendingOrder);
    QCOMPARE(header->sortIndicatorSection(), 0);
    QCOMPARE(header->sortIndicatorOrder(), Qt::DescendingOrder);
    QCOMPARE(contents(), QStringList(oldestFirst.rbegin(), oldestFirst.rend()));
}

void TestMainWindow::deletesSelectionThenConversationThenDatabase()
{
    makeDatabase(u"Mine"_s);
    open();
    const BoxReader yes(QMessageBox::Yes);
    const BoxReader ok;
    select(u"Mine"_s);
    auto *list = part<MyTreeView>(u"treeViewSMS"_s);
    list->setCurrentIndex(list->model()->index(0, 0));
    window->miDel();
    QCOMPARE(contents(), QStringList({u"Adios"_s, u"Hola otra vez"_s}));
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

void TestMainWindow::actionsFollowTheNode()
{
    makeDatabase(u"Mine"_s);
    SmsDbBuilder(QDir(dataRoot().filePath(u"virtual_ios/Phone"_s)))
        .chat(u"+34611111111"_s)
        .sent(u"Si"_s)
        .write();
    open();
    const auto states = [this] {
        return QList<bool>{isOn(u"actDb2I"_s), isOn(u"actBackup"_s), isOn(u"actExport"_s),
                           isOn(u"actPrint"_s), isOn(u"actDel"_s)};
    };
    select(u"Mine"_s);
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

void TestMainWindow::exportsWithTheTypedSuffix()
{
    makeDatabase(u"Mine"_s);
    open();
    select(u"Mine"_s);
    const QString path = dir->filePath(u"out.log"_s);
    const BoxReader boxes;
    const DialogPlayer player({[path](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        if (!dialog)
            return false;
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
        QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        return true;
    }});
    window->miExport();
    QCOMPARE(boxes.texts, QStringList({u"Successfully exported 3 SMS."_s}));
    QVERIFY(QFileInfo(path).size() > 0);
}

void TestMainWindow::closingWaitsForTheDialog()
{
    open();
    window->show();
    const DialogPlayer player({[this](QWidget *widget) {
        window->close();
        const bool stayed = window->isVisible();
        QMetaObject::invokeMethod(widget, "close", Qt::QueuedConnection);
        return stayed;
    }});
    window->miAbout();
    QVERIFY(player.isDone());
    QTRY_VERIFY(!window->isVisible());
}

QTEST_MAIN(TestMainWindow)
#include "testmainwindow.moc"
