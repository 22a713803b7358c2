#include "app/texts.h"
#include "backup/backupdiscovery.h"
#include "testing/builders/backupbuilder.h"
#include "testing/helpers/boxreader.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/loaditunesbackupdlg.h"
#include "ui/dialogs/passcodedlg.h"
#include "ui/dialogs/progressform.h"
#include "ui/views/mytreeview.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

void press(const QWidget &dialog, const QString &button)
{
    QTest::mouseClick(dialog.findChild<QPushButton *>(button), Qt::LeftButton);
}

QString writeBackup(const QString &folder, const QString &deviceName, const QString &password = {})
{
    SampleDevice device;
    device.name = deviceName;
    BackupBuilder builder{QDir(folder)};
    builder.device(device).iterations(1000);
    if (!password.isEmpty())
        builder.password(password);
    return builder.write();
}

/// Runs `work` on a thread of its own under `form`, as every job is run.
template <typename Work>
int execWith(ProgressForm &form, Work work)
{
    const std::unique_ptr<QThread> thread(QThread::create([&] { runJob(form, work); }));
    thread->start();
    const int result = form.exec();
    thread->wait();
    QCoreApplication::processEvents(); // whatever the job said too late
    return result;
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void errorsShowTheirBreaksAndNoOtherMarkup();
    void escapeIsNo();
    void damagedKeybagThenWrongThenRightPassword();
    void listsEachBackupOnce();
    void showsTheLastOfABurst();
    void failureIsTold();
    void tipsWaitUntilRead();
    void personCancels();

private:
    QTranslator translator;
    const QTemporaryDir dir;
};

void TestDialogs::errorsShowTheirBreaksAndNoOtherMarkup()
{
    const BoxReader reader;
    showError(u"a<br/>b\n<i>c</i>"_s);
    QVERIFY(reader.texts.first().contains(u">a<br/>b<br/>&lt;i>c&lt;/i><"_s));
    const QString longText = u"<line>\n"_s.repeated(500) + u"end"_s;
    showError(longText);
    QCOMPARE(reader.details.last(), longText);
    showError(longText, u"more"_s);
    QCOMPARE(reader.details.last(), u"more"_s);
    QVERIFY2(reader.tallest < 600, qPrintable(QString::number(reader.tallest)));
}

void TestDialogs::escapeIsNo()
{
    QTimer::singleShot(50, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
    QVERIFY(!askYesNo(u"Sure?"_s));
}

void TestDialogs::damagedKeybagThenWrongThenRightPassword()
{
    BackupManifest manifest(writeBackup(dir.filePath(u"locked"_s), u"Ana"_s, u"s3cret"_s));
    manifest.loadInfo();
    PasscodeDlg dialog(&manifest);
    dialog.show();
    auto *edit = dialog.findChild<QLineEdit *>();
    const BoxReader reader;
    const QByteArray keyBag = manifest.backupKeyBag;
    manifest.backupKeyBag = // asks for 4,294,967,295 rounds
        "TYPE\0\0\0\4\0\0\0\1SALT\0\0\0\4saltITER\0\0\0\4\xff\xff\xff\xff"_ba;
    QTest::keyClicks(edit, u"guess"_s);
    press(dialog, u"btnOK"_s);
    QCOMPARE(reader.kinds, QStringList{u"box-critical"_s});
    QVERIFY(dialog.isVisible() && dialog.isEnabled());
    manifest.backupKeyBag = keyBag;
    press(dialog, u"btnOK"_s);
    QTest::keyClicks(edit, u"s3cret"_s); // the wrong one is gone
    press(dialog, u"btnOK"_s);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!manifest.keyBagClasses.isEmpty());
}

void TestDialogs::listsEachBackupOnce()
{
    QDir root(defaultBackupRoot());
    QVERIFY(root.removeRecursively() && root.mkpath(u"empty"_s));
    writeBackup(root.filePath(u"one"_s), u"Ana <b>"_s);
    const QString elsewhere = writeBackup(dir.filePath(u"x"_s), u"Berta"_s);
    LoadItunesBackupDlg dialog;
    const QAbstractItemModel *model = dialog.findChild<MyTreeView *>()->model();
    QVERIFY(model->index(0, 0).data().toString().startsWith(u"Ana <b>"_s));
    const BoxReader reader;
    dialog.addFolder(elsewhere);
    dialog.addFolder(elsewhere + u"/../x/"_s);
    QCOMPARE(reader.texts, QStringList{u"This iTunes Backup has been listed on the left."_s});
    dialog.addFolder(root.filePath(u"empty"_s));
    QVERIFY(reader.texts.last().contains(u"load %1 error. "_s.arg(root.filePath(u"empty"_s))));
    QCOMPARE(model->rowCount(), 2);
    press(dialog, u"btnLoad"_s); // what was added is the current row
    QCOMPARE(dialog.selected()->deviceName, u"Berta"_s);
}

void TestDialogs::showsTheLastOfABurst()
{
    constexpr int count = 200'000;
    ProgressForm form({});
    QElapsedTimer timer;
    timer.start();
    const int result = execWith(form, [&] {
        for (int i = 1; i <= count; ++i)
            form.updateProgress(i == 5 ? u"Only once"_s : QString(), percentOf(i, count), {});
        form.updateProgress({}, -1, u"<i>"_s);
        return QString();
    });
    QCOMPARE(result, 1);
    QCOMPARE(form.findChild<QLabel *>(u"lbStatus"_s)->text(), u"Only once"_s);
    QCOMPARE(form.findChild<QProgressBar *>(u"progressBar"_s)->value(), 100);
    QCOMPARE(form.findChild<QLabel *>(u"lbProgress"_s)->text(), u"<i>"_s);
    QVERIFY(timer.elapsed() < 10'000);
}

void TestDialogs::failureIsTold()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const auto fail = []() -> QString { throw std::runtime_error("disk <full>"); };
    QCOMPARE(execWith(form, fail), 0);
    QVERIFY(form.cancelled);
    QVERIFY(reader.texts.value(0).contains(u"disk &lt;full>"_s));
}

void TestDialogs::tipsWaitUntilRead()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const int result = execWith(form, [&] {
        form.tipsWait(u"Look."_s);
        return QTest::qWaitFor([&] { return !form.tipsWaiting; }) ? u"Done."_s : u"Nobody has read it."_s;
    });
    QCOMPARE(result, 1);
    QVERIFY(!form.cancelled);
    QCOMPARE(reader.texts, QStringList({u"Look."_s, u"Done."_s}));
}

void TestDialogs::personCancels()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const QSignalSpy cancels(&form, &ProgressForm::userCacel);
    QTimer::singleShot(50, &form, [&] {
        form.setCancelEnabled(false);
        QTest::keyClick(&form, Qt::Key_Escape);
        form.close();
        QVERIFY(form.isVisible() && !form.cancelled); // what can't be cancelled stays
        form.setCancelEnabled(true);
        QTest::mousePress(form.findChild<QPushButton *>(), Qt::LeftButton); // needs no release
    });
    const int result = execWith(form, [&]() -> QString {
        if (QTest::qWaitFor([&] { return form.cancelled.load(); }))
            throw std::runtime_error("nobody wants to know");
        return u"Nobody has cancelled it."_s;
    });
    QCOMPARE(result, 0);
    QCOMPARE(cancels.count(), 1);
    QCOMPARE(reader.texts, QStringList());
}

QTEST_MAIN(TestDialogs)
#include "testdialogs.moc"
