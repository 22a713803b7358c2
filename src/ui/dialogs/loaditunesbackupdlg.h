#pragma once

#include "ui/dialogs/framelessdialog.h"
#include "ui/models/itemmodelloadbk.h"

class MyTreeView;
class QCheckBox;

/// Lets a person pick a backup: one in the default place, or any other folder. `exec()` is 1 with a backup
/// chosen. No password is asked for here, and no list of files is read.
class LoadItunesBackupDlg : public FramelessDialog
{
    Q_OBJECT

public:
    explicit LoadItunesBackupDlg(QWidget *parent = nullptr);

    /// The backup chosen; null until the dialog was accepted.
    QSharedPointer<BackupManifest> selected() const { return chosen; }

    /// Whether deleted messages are wanted too.
    bool looksForDeleted() const;

    /// Lists the backup in `folder` and makes it the current one. A folder that is none, or is listed
    /// already, is told in a box.
    void addFolder(const QString &folder);
    /// The same for a folder that may be listed already: it then becomes the current one.
    void selectFolder(const QString &folder);

public Q_SLOTS:
    void btnLoadClicked();
    void btnAddOtherClicked(const QString &link);

private:
    void addBackupsOfPhones();
    void build();
    QLabel *addOtherLabel();
    void setUpList();

    ItemModelLoadBk *model;
    MyTreeView *listBackups;
    QCheckBox *lookForDeleted;
    QSharedPointer<BackupManifest> chosen;
};
