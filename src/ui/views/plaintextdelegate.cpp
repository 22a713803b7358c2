#include "ui/views/plaintextdelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QTextDocument>
#include <QToolTip>

namespace
{

constexpr qsizetype longestRow = 500;
constexpr qsizetype longestToolTip = 2000;

QString cut(const QString &text, qsizetype length)
{
    return text.size() <= length ? text : text.left(length) + QChar(0x2026);
}

} // namespace

QString PlainTextDelegate::displayText(const QVariant &value, const QLocale &locale) const
{
    QString text = cut(QStyledItemDelegate::displayText(value, locale), longestRow);
    text.replace(QChar::LineSeparator, QChar::Space); // what Qt makes of line breaks
    return text.replace(QChar::CarriageReturn, QChar::Space);
}

bool PlainTextDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                                  const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString text = cut(index.data(Qt::ToolTipRole).toString(), longestToolTip);
    const QString shown = text.isEmpty() ? text : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
    QToolTip::showText(event->globalPos(), shown, view, option.rect);
    return true;
}
