#pragma once

#include "backup/backupmanifest.h"
#include "ui/models/abstreeitemmodel.h"

#include <QIcon>
#include <QSharedPointer>

/// The list of backups: name, date and path of each.
class ItemModelLoadBk : public AbsTreeItemModel
{
    Q_OBJECT

public:
    enum Column { Name, Date, Path, ColumnCount };

    struct _BKItemNode : _ItemNode {
        explicit _BKItemNode(const QSharedPointer<BackupManifest> &shown);
        QSharedPointer<BackupManifest> manifest; ///< never null
    };

    explicit ItemModelLoadBk(QObject *parent = nullptr);

    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// Appends a described backup. The node belongs to the model.
    _BKItemNode *addBackup(const QSharedPointer<BackupManifest> &manifest);
    /// The backup in the row of `index`; null for an invalid one.
    static QSharedPointer<BackupManifest> backupAt(const QModelIndex &index);
    /// The row of the backup with the same absolute path; invalid when there is none.
    QModelIndex find(const BackupManifest &manifest) const;

private:
    const QIcon icon;
};
