// A phone in the window: it arrives, is read, takes messages and goes, all through the libraries that stand
// in for the maker's and the backup tool of the system.

#include "app/datalocations.h"
#include "app/texts.h"
#include "backup/mbdbreader.h"
#include "device/mobiledevice.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/fakephone/muxserver.h"
#include "testing/helpers/boxreader.h"
#include "testing/helpers/testtools.h"
#include "ui/dialogs/datasourceselform.h"
#include "ui/mainwindow.h"
#include "ui/views/mytreeview.h"

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

} // namespace

class TestDeviceWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAPhoneThatArrivesAndWritesToIt();

private:
    QModelIndex find(const QString &title) const
    {
        const QAbstractItemModel *model = tree()->model();
        return model->match(model->index(0, 0), Qt::DisplayRole, title, 1, Qt::MatchRecursive).value(0);
    }
    MyTreeView *tree() const { return window->findChild<MyTreeView *>(u"treeViewDS"_s); }

    QTranslator translator;
    QTemporaryDir dir;
    std::unique_ptr<MainWindow> window;
};

void TestDeviceWindow::readsAPhoneThatArrivesAndWritesToIt()
{
    installTexts(translator);
    QString error;
    QVERIFY2(mobiledevice_load_frameworks(error), qPrintable(error));
    std::signal(SIGPIPE, SIG_IGN); // QTest has set a handler of its own since
    QVERIFY(dataRoot().removeRecursively());
    FakePhone phone(QString(40, u'c'));
    phone.values[u"ProductVersion"_s] = u"8.1"_s;
    for (QDir *folder : {&phone.backup, &phone.restored, &phone.media})
        folder->setPath(dir.filePath(QString::number(quintptr(folder))));
    BackupBuilder(phone.backup)
        .messages(SmsDbBuilder(dir.filePath(u"phone"_s)).chat(u"+34612345678"_s).received(u"Hola"_s).write())
        .write();
    SmsDbBuilder(QDir(localDatabasesDir().filePath(u"Mine"_s)))
        .chat(u"+34612345678"_s)
        .sent(u"Adios"_s)
        .attachment(u"~/Library/SMS/Attachments/ab/cat.jpg"_s)
        .chat(u"+34698765432"_s)
        .received(u"Hola otra vez"_s)
        .write();
    const QString picture = u"Mine/file-relay/var/mobile/Library/SMS/Attachments/ab/cat.jpg"_s;
    QVERIFY(writeFile(localDatabasesDir().filePath(picture)));
    MuxServer server(dir.filePath(u"socket"_s));
    qputenv("USBMUXD_SOCKET_ADDRESS", server.address().toUtf8());
    const BoxReader ok;
    const BoxReader yes(QMessageBox::Yes);
    QTimer picker;
    connect(&picker, &QTimer::timeout, [] {
        if (auto *dialog = qobject_cast<DataSourceSelForm *>(QApplication::activeModalWidget()))
            dialog->findChild<QPushButton *>(u"btnOK"_s)->click();
    });
    picker.start(20);
    window = std::make_unique<MainWindow>();
    server.plugIn(phone);
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

    server.pullOut(phone);
    QTRY_VERIFY(!find(u"Ann's iPhone"_s).isValid());
    window->miClearCache();
    window.reset();
}

QTEST_MAIN(TestDeviceWindow)
#include "testdevicewindow.moc"
