#include "aboutusform.h"
#include "backupbuilder.h"
#include "backupdiscovery.h"
#include "boxreader.h"
#include "countryselform.h"
#include "datasourceselform.h"
#include "loaditunesbackupdlg.h"
#include "localdbselform.h"
#include "mytreeview.h"
#include "passcodedlg.h"
#include "sourcenodes.h"
#include "texts.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

template <typename Widget>
Widget *part(const QWidget &dialog, const QString &name)
{
    return dialog.findChild<Widget *>(name);
}

void press(const QWidget &dialog, const QString &button)
{
    QTest::mouseClick(part<QPushButton>(dialog, button), Qt::LeftButton);
}

void retype(QLineEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

QString writeBackup(const QDir &folder, const QString &deviceName, const QString &password = {})
{
    SampleDevice device;
    device.name = deviceName;
    BackupBuilder builder(folder);
    builder.device(device).iterations(1000).date(QDateTime({2014, 3, 2}, {10, 30}, Qt::UTC));
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
    void init();
    void everyPartHasAName_data();
    void everyPartHasAName();
    void databaseNames_data();
    void databaseNames();
    void choosesADevice_data();
    void choosesADevice();
    void choosesACountry();
    void passwordWrongThenRight();
    void passwordCancelledLeavesTheKeybagLocked();
    void damagedKeybagIsToldAndTheDialogStays();
    void listsBackupsOfTheDefaultPlace();
    void loadNeedsARow();
    void addsAFolderOnce();
    void folderWithoutABackupIsTold();
    void doubleClickLoads();
    void backupListIsAModel();

private:
    QDir defaultRoot() const { return QDir(defaultBackupRoot()); }

    QTranslator translator;
    std::unique_ptr<QTemporaryDir> dir;
};

void TestDialogs::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(defaultRoot().removeRecursively());
}

void TestDialogs::everyPartHasAName_data()
{
    using Make = std::function<std::unique_ptr<QDialog>()>;
    QTest::addColumn<Make>("make");
    QTest::newRow("database") << Make(
        [] { return std::make_unique<LocalDbSelForm>(QStringList{u"a"_s}, u"b"_s); });
    QTest::newRow("device") << Make([] { return std::make_unique<DataSourceSelForm>(); });
    QTest::newRow("country") << Make([] { return std::make_unique<CountrySelForm>(); });
    QTest::newRow("password") << Make([] { return std::make_unique<PasscodeDlg>(nullptr); });
    QTest::newRow("backups") << Make([] { return std::make_unique<LoadItunesBackupDlg>(); });
    QTest::newRow("about") << Make([] { return std::make_unique<AboutUsForm>(); });
}

void TestDialogs::everyPartHasAName()
{
    QFETCH(std::function<std::unique_ptr<QDialog>()>, make);
    const std::unique_ptr<QDialog> dialog = make();
    QVERIFY(dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
    int defaultButtons = 0;
    for (const QPushButton *button : dialog->findChildren<QPushButton *>()) {
        defaultButtons += button->isDefault();
        QVERIFY2(button->text().contains(u'&'), qPrintable(button->text()));
    }
    QCOMPARE(defaultButtons, 1);
    const QList<QWidget *> widgets = dialog->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (const QWidget *widget : widgets) {
        const bool takesInput = widget->focusPolicy() != Qt::NoFocus;
        const QAccessibleInterface *face =
            QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
        QVERIFY2(!takesInput || !face->text(QAccessible::Name).isEmpty(), qPrintable(widget->objectName()));
    }
    dialog->show();
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->result(), int(QDialog::Rejected));
}

void TestDialogs::databaseNames_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QStringList>("boxes");
    const QString invalid = u"Invalid Local Database name(can't contain \\ / : * ? &quot; &lt; &gt; |)."_s;
    const QString empty = u"Select one Database or enter a new Database name"_s;
    QTest::newRow("a new one") << u"Phone 2014"_s << u"Phone 2014"_s << QStringList();
    QTest::newRow("one that is there") << u"Old"_s << u"Old"_s << QStringList();
    QTest::newRow("blanks around go") << u"  A  "_s << u"A"_s << QStringList();
    QTest::newRow("none") << u"  "_s << u""_s << QStringList{empty};
    QTest::newRow("a path") << u"a/b"_s << u""_s << QStringList{invalid};
    QTest::newRow("a drive") << u"C:"_s << u""_s << QStringList{invalid};
    QTest::newRow("the folder above") << u".."_s << u""_s << QStringList{invalid};
}

void TestDialogs::databaseNames()
{
    QFETCH(QString, typed);
    const BoxReader reader;
    LocalDbSelForm form({u"Old"_s}, u"Ana_Backup"_s);
    auto *names = part<QComboBox>(form, u"cbLocalDbNames"_s);
    QCOMPARE(names->currentText(), u"Ana_Backup"_s);
    retype(names->lineEdit(), typed);
    press(form, u"btnOK"_s);
    QTEST(form.selectedName(), "selected");
    QTEST(reader.texts, "boxes");
    QCOMPARE(form.result() == QDialog::Accepted, reader.texts.isEmpty());
}

void TestDialogs::choosesADevice_data()
{
    QTest::addColumn<int>("devices");
    QTest::addColumn<int>("picked"); // -1 picks none
    QTest::addColumn<int>("selected");
    QTest::addColumn<int>("boxes");
    QTest::newRow("none there") << 0 << -1 << -1 << 1;
    QTest::newRow("one needs no pick") << 1 << -1 << 0 << 0;
    QTest::newRow("two need one") << 2 << -1 << -1 << 1;
    QTest::newRow("the second") << 2 << 1 << 1 << 0;
}

void TestDialogs::choosesADevice()
{
    QFETCH(int, devices);
    QFETCH(int, picked);
    QFETCH(int, selected);
    std::vector<std::unique_ptr<_IOSDeviceItemNode>> nodes;
    DataSourceSelForm form;
    for (int i = 0; i < devices; ++i) {
        nodes.push_back(std::make_unique<_IOSDeviceItemNode>(nullptr, IOSDevice{}));
        form.addItem({}, u"iPhone"_s, nodes.back().get());
    }
    if (picked >= 0)
        part<QComboBox>(form, u"cbDevice"_s)->setCurrentIndex(picked);
    const BoxReader reader;
    press(form, u"btnOK"_s);
    QCOMPARE(form.selected(), selected < 0 ? nullptr : nodes[size_t(selected)].get());
    QTEST(int(reader.texts.size()), "boxes");
}

void TestDialogs::choosesACountry()
{
    CountrySelForm form;
    form.show();
    auto *list = part<QListWidget>(form, u"listCountries"_s);
    QCOMPARE(list->count(), countryChoices().size());
    QTest::keyClicks(part<QLineEdit>(form, u"txtCountry"_s), u"gErMaN"_s);
    QCOMPARE(list->count(), 1);
    {
        const BoxReader reader;
        press(form, u"btnOK"_s);
        QCOMPARE(reader.texts, QStringList{u"Please select a cuntry code first to continue."_s});
    }
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
    {
        const BoxReader reader(QMessageBox::No);
        press(form, u"btnOK"_s);
        QCOMPARE(reader.texts, QStringList{u"Confirm to select Germany (+49)?"_s});
        QVERIFY(form.isVisible());
    }
    const BoxReader reader(QMessageBox::Yes);
    press(form, u"btnOK"_s);
    QCOMPARE(form.selectedMmc, u"262"_s);
    QCOMPARE(form.result(), int(QDialog::Accepted));
}

void TestDialogs::passwordWrongThenRight()
{
    BackupManifest manifest(writeBackup(QDir(dir->path()), u"Ana"_s, u"s3cret"_s));
    manifest.loadInfo();
    PasscodeDlg dialog(&manifest);
    dialog.show();
    auto *edit = part<QLineEdit>(dialog, u"txtPassword"_s);
    QCOMPARE(edit->echoMode(), QLineEdit::Password);
    const BoxReader reader;
    press(dialog, u"btnOK"_s);
    retype(edit, u"guess"_s);
    QTest::keyClick(edit, Qt::Key_Return);
    QCOMPARE(reader.texts, QStringList({u"Password is required."_s, u"Invalid password."_s}));
    QCOMPARE(edit->text(), QString());
    QVERIFY(dialog.isVisible() && dialog.isEnabled());
    retype(edit, u"s3cret"_s);
    QTest::keyClick(edit, Qt::Key_Return);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!manifest.keyBagClasses.isEmpty());
}

void TestDialogs::passwordCancelledLeavesTheKeybagLocked()
{
    BackupManifest manifest(writeBackup(QDir(dir->path()), u"Ana"_s, u"s3cret"_s));
    manifest.loadInfo();
    PasscodeDlg dialog(&manifest);
    QTimer::singleShot(0, [&] {
        retype(part<QLineEdit>(dialog, u"txtPassword"_s), u"s3cret"_s);
        press(dialog, u"btnCancel"_s);
    });
    QCOMPARE(dialog.exec(), 0);
    QVERIFY(manifest.keyBagClasses.isEmpty());
}

void TestDialogs::damagedKeybagIsToldAndTheDialogStays()
{
    BackupManifest manifest(dir->path());
    manifest.isEncrypted = true;
    // A password block that asks for 4,294,967,295 rounds.
    manifest.backupKeyBag = QByteArray("TYPE\0\0\0\4\0\0\0\1"
                                       "SALT\0\0\0\4salt"
                                       "ITER\0\0\0\4\xff\xff\xff\xff",
                                       36);
    PasscodeDlg dialog(&manifest);
    dialog.show();
    QTest::keyClicks(part<QLineEdit>(dialog, u"txtPassword"_s), u"x"_s);
    const BoxReader reader;
    press(dialog, u"btnOK"_s);
    QCOMPARE(reader.kinds, QStringList{u"box-critical"_s});
    QVERIFY(dialog.isVisible() && dialog.isEnabled());
}

void TestDialogs::listsBackupsOfTheDefaultPlace()
{
    writeBackup(defaultRoot().filePath(u"one"_s), u"Ana <b>"_s);
    writeBackup(defaultRoot().filePath(u"two"_s), u"Berta"_s, u"s3cret"_s);
    QVERIFY(defaultRoot().mkpath(u"empty"_s));
    LoadItunesBackupDlg dialog;
    dialog.show();
    const QAbstractItemModel *model = part<MyTreeView>(dialog, u"listBackups"_s)->model();
    QCOMPARE(model->rowCount(), 2);
    QVERIFY(model->index(0, 0).data().toString().startsWith(u"Ana <b>"_s));
    QVERIFY(model->index(0, 1).data().toString().contains(u"14"_s)); // the year, however the locale writes it
    QCOMPARE(model->index(1, 2).data().toString(), defaultRoot().filePath(u"two"_s));
    press(dialog, u"btnLoad"_s); // the first row is the current one
    QCOMPARE(dialog.selected()->backupDir.dirName(), u"one"_s);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestDialogs::loadNeedsARow()
{
    LoadItunesBackupDlg dialog;
    dialog.show();
    const BoxReader reader;
    press(dialog, u"btnLoad"_s);
    QCOMPARE(reader.texts, QStringList{u"Need to select an iTunes Backup to continue."_s});
    QVERIFY(dialog.isVisible() && !dialog.selected());
}

void TestDialogs::addsAFolderOnce()
{
    writeBackup(defaultRoot().filePath(u"one"_s), u"Ana"_s);
    const QString elsewhere = writeBackup(QDir(dir->filePath(u"x"_s)), u"Berta"_s);
    LoadItunesBackupDlg dialog;
    const BoxReader reader;
    dialog.addFolder(elsewhere);
    QCOMPARE(reader.texts, QStringList());
    dialog.addFolder(elsewhere + u"/../x/"_s);
    QCOMPARE(reader.texts, QStringList{u"This iTunes Backup has been listed on the left."_s});
    QCOMPARE(part<MyTreeView>(dialog, u"listBackups"_s)->model()->rowCount(), 2);
    press(dialog, u"btnLoad"_s); // what was added is the current row
    QCOMPARE(dialog.selected()->deviceName, u"Berta"_s);
}

void TestDialogs::folderWithoutABackupIsTold()
{
    LoadItunesBackupDlg dialog;
    const BoxReader reader;
    dialog.addFolder(dir->path());
    QCOMPARE(reader.texts.size(), 1);
    QVERIFY2(reader.texts.first().contains(u"load %1 error. "_s.arg(dir->path())),
             qPrintable(reader.texts.first()));
    QCOMPARE(part<MyTreeView>(dialog, u"listBackups"_s)->model()->rowCount(), 0);
}

void TestDialogs::doubleClickLoads()
{
    writeBackup(defaultRoot().filePath(u"one"_s), u"Ana"_s);
    LoadItunesBackupDlg dialog;
    dialog.show();
    auto *list = part<MyTreeView>(dialog, u"listBackups"_s);
    const QPoint place = list->visualRect(list->model()->index(0, 0)).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, place);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestDialogs::backupListIsAModel()
{
    ItemModelLoadBk model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (const QString &name : {u"a"_s, u"b"_s})
        model.addBackup(QSharedPointer<BackupManifest>::create(dir->filePath(name)));
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), u"Backup Date"_s);
    model.removeNode(AbsTreeItemModel::nodeOf(model.index(0, 2)));
    QCOMPARE(ItemModelLoadBk::backupAt(model.index(0, 1))->backupDir.dirName(), u"b"_s);
}

QTEST_MAIN(TestDialogs)
#include "testdialogs.moc"
