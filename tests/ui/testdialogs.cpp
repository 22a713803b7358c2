#include "backupbuilder.h"
#include "backupdiscovery.h"
#include "boxes.h"
#include "boxreader.h"
#include "loaditunesbackupdlg.h"
#include "mytreeview.h"
#include "passcodedlg.h"
#include "texts.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
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

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { installTexts(translator); }
    void errorsShowTheirBreaksAndNoOtherMarkup();
    void escapeIsNo();
    void damagedKeybagThenWrongThenRightPassword();
    void longDerivationsCanBeGivenUp();
    void listsEachBackupOnce();

private:
    QTranslator translator;
    const QTemporaryDir dir;
};

void TestDialogs::errorsShowTheirBreaksAndNoOtherMarkup()
{
    const BoxReader reader;
    showError(u"a<br/>b\n<i>c</i>"_s);
    QVERIFY(reader.texts.first().contains(u">a<br/>b<br/>&lt;i>c&lt;/i><"_s));
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
    QCOMPARE(reader.texts.last(), u"Invalid password."_s);
    QTest::keyClicks(edit, u"s3cret"_s); // the wrong one is gone
    press(dialog, u"btnOK"_s);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!manifest.keyBagClasses.isEmpty());
}

void TestDialogs::longDerivationsCanBeGivenUp()
{
    BackupBuilder backup(QDir(dir.filePath(u"modern"_s)));
    BackupManifest manifest(backup.password(u"pw"_s).iterations(3).manifestDb().write());
    manifest.loadInfo();
    const QByteArray keyBag = manifest.backupKeyBag;
    manifest.backupKeyBag.replace(keyBag.indexOf("DPIC") + 8, 4,
                                  QByteArray("\5\xf5\xe1\0", 4)); // half a minute
    PasscodeDlg dialog(&manifest);
    dialog.show();
    QTest::keyClicks(dialog.findChild<QLineEdit *>(), u"pw"_s);
    QTimer::singleShot(200, [] { press(*QApplication::activeModalWidget(), u"btnCancel"_s); });
    QElapsedTimer timer;
    timer.start();
    press(dialog, u"btnOK"_s);
    QVERIFY(timer.elapsed() < 2000 && dialog.isVisible());
    manifest.backupKeyBag = keyBag;
    press(dialog, u"btnOK"_s); // what was typed is still there
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
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

QTEST_MAIN(TestDialogs)
#include "testdialogs.moc"
