#include "ui/dialogs/loaditunesbackupdlg.h"

#include "backup/backupdiscovery.h"
#include "device/backuptempdir.h"
#include "sources/findsource.h"
#include "ui/dialogs/boxes.h"
#include "ui/views/mytreeview.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

LoadItunesBackupDlg::LoadItunesBackupDlg(QWidget *parent)
    : FramelessDialog(QObject::tr("IDS_SELECT_AN_ITUNES_BACKUP_TO_LOAD"), parent)
    , model(new ItemModelLoadBk(this))
    , listBackups(new MyTreeView(this))
    , lookForDeleted(new QCheckBox(QObject::tr("IDS_ALSO_LOOK_FOR_DELETED_SMS"), this))
{
    for (const QSharedPointer<BackupManifest> &backup : findBackups())
        model->addBackup(backup);
    addBackupsOfPhones();
    build();
    if (model->rowCount() > 0)
        listBackups->setCurrentIndex(model->index(0, 0));
}

/// Those that stayed behind when a phone was read.
void LoadItunesBackupDlg::addBackupsOfPhones()
{
    const std::optional<QDir> folder = chosenBackupTempDir();
    if (!folder || !folder->exists())
        return;
    for (const QSharedPointer<BackupManifest> &backup : ::listBackups(folder->absolutePath()))
        model->addBackup(backup);
}

void LoadItunesBackupDlg::build()
{
    QLabel *title = heading(u"lbTitle"_s, windowTitle());
    title->setBuddy(listBackups);
    setUpList();
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(listBackups, 1);
    layout->addWidget(addOtherLabel());
    lookForDeleted->setObjectName(u"ckDeleted"_s);
    layout->addWidget(lookForDeleted);
    layout->addLayout(
        buttonRow({u"btnLoad"_s, u"&Load"_s, [this] { btnLoadClicked(); }}, {u"btnCancel"_s, u"&Cancel"_s}));
    findChild<QWidget *>(u"btnLoad"_s)->setStyleSheet(u"margin-right:15px;"_s);
    resize(680, 380);
    listBackups->setFocus();
}

QLabel *LoadItunesBackupDlg::addOtherLabel()
{
    auto *label =
        new QLabel(QObject::tr("IDS_NO_BACKUP_LISTED_THERE_CLICK_<a href=\"#\">Here</a>_ADD"), this);
    label->setObjectName(u"lbAddOther"_s);
    label->setTextFormat(Qt::RichText);
    label->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    label->setWordWrap(true);
    connect(label, &QLabel::linkActivated, this, &LoadItunesBackupDlg::btnAddOtherClicked);
    return label;
}

void LoadItunesBackupDlg::setUpList()
{
    listBackups->setObjectName(u"listBackups"_s);
    listBackups->setAccessibleName(u"iTunes Backups"_s);
    listBackups->setModel(model);
    listBackups->setRootIsDecorated(false);
    listBackups->setAllColumnsShowFocus(true);
    listBackups->setTextElideMode(Qt::ElideMiddle); // both ends of a path tell
    listBackups->header()->resizeSection(0, 200);
    listBackups->fitDates(1);
    connect(listBackups, &QTreeView::doubleClicked, this, &LoadItunesBackupDlg::btnLoadClicked);
}

bool LoadItunesBackupDlg::looksForDeleted() const
{
    return lookForDeleted->isChecked();
}

void LoadItunesBackupDlg::btnLoadClicked()
{
    const QSharedPointer<BackupManifest> backup = ItemModelLoadBk::backupAt(listBackups->currentIndex());
    if (!backup)
        return showWarning(QObject::tr("IDS_PLEASE_SELECT_ONE_ITUNES_BACKUP"));
    chosen = backup;
    accept();
}

void LoadItunesBackupDlg::btnAddOtherClicked(const QString &)
{
    const QString folder = QFileDialog::getExistingDirectory(this, windowTitle(), QDir::homePath());
    if (!folder.isEmpty())
        addFolder(folder);
}

void LoadItunesBackupDlg::selectFolder(const QString &folder)
{
    const QModelIndex listed = model->find(BackupManifest(folder));
    if (listed.isValid())
        listBackups->setCurrentIndex(listed);
    else
        addFolder(folder);
}

void LoadItunesBackupDlg::addFolder(const QString &folder)
{
    try {
        const auto backup = QSharedPointer<BackupManifest>::create(folder);
        if (model->find(*backup).isValid())
            return showWarning(QObject::tr("IDS_LOAD_BK_EXISTS"));
        backup->loadInfo();
        listBackups->setCurrentIndex(model->indexOf(model->addBackup(backup)));
    } catch (const std::exception &error) {
        const QString text = u"load %1 error. %2"_s.arg(folder, QString::fromUtf8(error.what()));
        qWarning().noquote() << text;
        showError(text);
    }
}
