#pragma once

#include "store/records/attachmentlist.h"
#include "ui/dialogs/framelessdialog.h"

#include <QAbstractTableModel>

/// A list of attachments as a table: name, size, date, conversation and why there is no file.
class ItemModelMissing : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name, Size, Date, Conversation, Reason, ColumnCount };

    explicit ItemModelMissing(const QList<ListedAttachment> &list, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// The table with its header, columns parted by tabs.
    QString asText() const;

private:
    QString cellText(const ListedAttachment &listed, int column) const;

    QList<ListedAttachment> rows;
};

/// "Missing Attachments": which attachments of a source aren't there, how many and how large.
class MissingAttachmentsDlg : public FramelessDialog
{
    Q_OBJECT

public:
    /// `all` are the attachments of the source. Their records have to outlive the dialog.
    MissingAttachmentsDlg(const QList<ListedAttachment> &all, QWidget *parent);

private:
    void build(const AttachmentTotals &totals);
    void copyList();

    ItemModelMissing *model;
};
