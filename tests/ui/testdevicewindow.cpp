// A phone in the window: it arrives, is read, takes messages and goes, all through the libraries that stand
// in for the maker's and the backup tool of the system.

#include "app/datalocations.h"
#include "app/texts.h"
#include "backup/mbdbreader.h"
#include "device/backuptempdir.h"
#include "device/mobiledevice.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/fakephone/muxserver.h"
#include "testing/helpers/boxreader.h"
#include "testing/helpers/testtools.h"
#include "ui/dialogs/datasourceselform.h"
#include "ui/dialogs/loaditunesbackupdlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/mainwindow.h"
#include "ui/views/mytreeview.h"
#include "ui/views/noticebar.h"

#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <csignal>

using namespace Qt::StringLiterals;

namespace
{

/// What two backups must have in common: for each entry of the list what it says, dates aside, and the file.
QStringList contentOf(const QDir &backup)
{
    QStringList content;
    for (const _MbdbRecord &record : readMbdbFile(backup.filePath(u"Manifest.mbdb"_s))) {
        const QByteArray file = bytesOf(backup.filePath(recordFileName(record))) + record.dataHash.bytes;
        content += u"%1/%2 %3 %4 "_s.arg(record.domain.text(), record.path.text())
                       .arg(record.fileLength)
                       .arg(record.mode) +
                   QString::fromLatin1(file.toHex());
    }
    content.sort();
    return content;
}

/// Plays the person while dialogs hold the test up: waits for what it is to see, does something, and goes on
/// to the next step.
class Person
{
public:
    struct Step {
        std::function<bool()> sees;
        std::function<void()> act;
    };

    explicit Person(const QList<Step> &toDo) : steps(toDo)
    {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (steps.isEmpty() || !steps.first().sees())
                return;
            const Step step = steps.takeFirst();
            step.act();
        });
        timer.start(10);
    }

    bool isDone() const { return steps.isEmpty(); }

private:
    QList<Step> steps;
    QTimer timer;
};

/// The message box or progress dialog on top; null for another or none.
template <typename Dialog>
Dialog *top()
{
    return qobject_cast<Dialog *>(QApplication::activeModalWidget());
}

std::function<bool()> box(const QString &text)
{
    return [text] { return top<QMessageBox>() && top<QMessageBox>()->text().contains(text); };
}

bool isAskingForTrust()
{
    const auto *label =
        top<ProgressForm>() ? top<ProgressForm>()->findChild<QLabel *>(u"lbStatus"_s) : nullptr;
    return label && label->text() == u"Unlock the phone and tap \"Trust\" on it."_s;
}

void accept()
{
    top<QMessageBox>()->accept();
}

} // namespace

class TestDeviceWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void readsAPhoneThatArrivesAndWritesToIt();
    void waitsForTheOwnersTrust();
    void sharesANoteThatClosesWithItsPhones();
    void readsAPhoneThatComesBackUnderABox();

private:
    QModelIndex find(const QString &title) const
    {
        const QAbstractItemModel *model = tree()->model();
        return model->match(model->index(0, 0), Qt::DisplayRole, title, 1, Qt::MatchRecursive).value(0);
    }
    MyTreeView *tree() const { return window->findChild<MyTreeView *>(u"treeViewDS"_s); }
    FakePhone &newPhone();

    QTranslator translator;
    QTemporaryDir dir;
    std::list<FakePhone> phones; // outlive the threads of the server
    std::unique_ptr<MuxServer> server;
    std::unique_ptr<MainWindow> window;
};

void TestDeviceWindow::initTestCase()
{
    installTexts(translator);
    QString error;
    QVERIFY2(mobiledevice_load_frameworks(error), qPrintable(error));
    std::signal(SIGPIPE, SIG_IGN); // QTest has set a handler of its own since
    server = std::make_unique<MuxServer>(dir.filePath(u"socket"_s));
    qputenv("USBMUXD_SOCKET_ADDRESS", server->address().toUtf8());
}

void TestDeviceWindow::init()
{
    QVERIFY(dataRoot().removeRecursively());
    window = std::make_unique<MainWindow>();
}

void TestDeviceWindow::cleanup()
{
    const BoxReader ok;
    for (FakePhone &phone : phones)
        server->pullOut(phone);
    window.reset();
    clearIosBackupTemp();
}

/// With one message.
FakePhone &TestDeviceWindow::newPhone()
{
    FakePhone &phone = phones.emplace_back(u"%1"_s.arg(phones.size() + 1, 40, 16, QChar(u'c')));
    phone.values[u"ProductVersion"_s] = u"8.1"_s;
    for (QDir *folder : {&phone.backup, &phone.restored, &phone.media})
        folder->setPath(dir.filePath(QString::number(quintptr(folder))));
    SmsDbBuilder messages(dir.filePath(phone.udid));
    BackupBuilder(phone.backup)
        .messages(messages.chat(u"+34612345678"_s).received(u"Hola"_s).write())
        .write();
    return phone;
}

void TestDeviceWindow::readsAPhoneThatArrivesAndWritesToIt()
{
    FakePhone &phone = newPhone();
    SmsDbBuilder(QDir(localDatabasesDir().filePath(u"Mine"_s)))
        .chat(u"+34612345678"_s)
        .sent(u"Adios"_s)
        .attachment(u"~/Library/SMS/Attachments/ab/cat.jpg"_s)
        .chat(u"+34698765432"_s)
        .received(u"Hola otra vez"_s)
        .write();
    const QString picture = u"Mine/file-relay/var/mobile/Library/SMS/Attachments/ab/cat.jpg"_s;
    QVERIFY(writeFile(localDatabasesDir().filePath(picture)));
    window = std::make_unique<MainWindow>();
    const BoxReader ok;
    const BoxReader yes(QMessageBox::Yes);
    QTimer picker;
    connect(&picker, &QTimer::timeout, [] {
        if (auto *dialog = qobject_cast<DataSourceSelForm *>(QApplication::activeModalWidget()))
            dialog->findChild<QPushButton *>(u"btnOK"_s)->click();
    });
    picker.start(20);
    server->plugIn(phone);
    QTRY_VERIFY_WITH_TIMEOUT(find(u"Ann's iPhone"_s).isValid(), 60'000);
    QTRY_COMPARE(window->findChild<MyTreeView *>(u"treeViewSMS"_s)->model()->rowCount(), 1);

    tree()->setCurrentIndex(find(u"Mine"_s));
    window->miDb2I();
    QCOMPARE(ok.texts.last(), u"Successfully recovered 2 SMS to iPhone."_s);
    QVERIFY(yes.texts.size() == 1 && yes.texts.first().contains(u"must be disabled before restoring."_s));
    const QStringList original = contentOf(phone.backup);
    QCOMPARE(QProcess::execute(QStringLiteral(COMPANION),
                               {u"merge"_s, u"Mine"_s, u"--into-backup"_s, phone.backup.path()}),
             0);
    QCOMPARE(contentOf(phone.restored), contentOf(phone.backup));
    QCOMPARE(contentOf(phone.restored).size(), original.size() + 5); // the picture and its folders
    QVERIFY(!contentOf(phone.restored).contains(original.last()));   // the messages

    server->pullOut(phone);
    QTRY_VERIFY(!find(u"Ann's iPhone"_s).isValid());
    const QDir left = iosBackupTempDir().filePath(phone.udid);
    QVERIFY(left.exists() && window->findChild<NoticeBar *>(u"backupNotice"_s));
    QVERIFY(LoadItunesBackupDlg().findChild<QTreeView *>(u"listBackups"_s)->model()->rowCount() == 1);
    const int asked = phone.piecesSent;
    const Person hurried({{box(u"There is a backup of this phone of"_s), [] {
                               for (QAbstractButton *button : top<QMessageBox>()->buttons()) {
                                   if (button->text() == u"Read that one"_s)
                                       return button->click();
                               }
                           }}});
    server->plugIn(phone);
    QTRY_VERIFY_WITH_TIMEOUT(hurried.isDone() && find(u"Ann's iPhone"_s).isValid(), 60'000);
    QVERIFY(phone.piecesSent < asked + 40); // no backup
    window->findChild<QPushButton *>(u"btnRemoveBackup"_s)->click();
    QVERIFY(!left.exists());
    window->miClearCache();
}

void TestDeviceWindow::waitsForTheOwnersTrust()
{
    FakePhone &phone = newPhone();
    phone.trust = Trust::NotAnswered;
    const auto note = box(u"please enter your passcode"_s);
    const Person hasty({{note, accept}, {isAskingForTrust, [] { top<ProgressForm>()->cancel(); }}});
    server->plugIn(phone);
    QTRY_VERIFY_WITH_TIMEOUT(hasty.isDone() && !QApplication::activeModalWidget(), 20'000);
    server->trust(phone); // after all
    QTRY_VERIFY_WITH_TIMEOUT(find(u"Ann's iPhone"_s).isValid(), 60'000);

    FakePhone &refusing = newPhone();
    refusing.trust = Trust::PasscodeWanted;
    const Person patient({{note, accept},
                          {isAskingForTrust, [&] { refusing.trust = Trust::Refused; }},
                          {box(u"Error code: AMDevicePair(-18)"_s), accept}});
    server->plugIn(refusing);
    QTRY_VERIFY_WITH_TIMEOUT(patient.isDone(), 20'000);
}

void TestDeviceWindow::sharesANoteThatClosesWithItsPhones()
{
    FakePhone &ann = newPhone();
    FakePhone &bob = newPhone();
    const QMessageBox *note = nullptr;
    int turns = 0;
    const Person owner(
        {{[&] { return ++turns > 20 && top<QMessageBox>(); },
          [&] {
              note = top<QMessageBox>();
              turns = 0;
              server->pullOut(ann);
          }},
         {[&] { return ++turns > 20 && top<QMessageBox>() == note; }, [&] { server->pullOut(bob); }}});
    server->plugIn(ann);
    server->plugIn(bob);
    QTRY_VERIFY_WITH_TIMEOUT(owner.isDone() && !QApplication::activeModalWidget(), 20'000);
}

// The box that says why the first try failed is still open when the phone comes back.
void TestDeviceWindow::readsAPhoneThatComesBackUnderABox()
{
    FakePhone &phone = newPhone();
    phone.backupRefusal = u"Device locked"_s;
    phone.refusalCode = 208;
    const auto note = box(u"please enter your passcode"_s);
    const Person owner({{note, accept},
                        {box(u"its passcode wasn't entered in time"_s),
                         [&] {
                             QVERIFY(top<QMessageBox>()->detailedText().contains(u"ErrorCode 208"_s));
                             server->pullOut(phone);
                             phone.backupRefusal.clear();
                             server->plugIn(phone);
                         }},
                        {note, accept},
                        {[&] { return find(u"Ann's iPhone"_s).isValid() && top<QMessageBox>(); }, accept}});
    server->plugIn(phone);
    QTRY_VERIFY_WITH_TIMEOUT(owner.isDone() && !QApplication::activeModalWidget(), 60'000);
}

QTEST_MAIN(TestDeviceWindow)
#include "testdevicewindow.moc"
