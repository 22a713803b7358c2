#pragma once

#include <QStyledItemDelegate>

/// Shows texts that came from a phone as they are: on one line, never as markup, and cut where no
/// window is wide enough, so that a message of a megabyte costs no more than any other row.
class PlainTextDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant &value, const QLocale &locale) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};
