#include "ui/models/itemmodelsms.h"

#include "store/records/extrastext.h"
#include "store/records/messagestore.h"
#include "ui/views/programicon.h"
#include "ui/views/stylesheet.h"

#include <QBrush>
#include <QColor>
#include <QLocale>
#include <QSize>

using namespace Qt::StringLiterals;

namespace
{

QString directionOf(const _MsgMessage &message)
{
    if (message.item_type != 0)
        return {};
    return message.is_from_me ? u"To"_s : u"From"_s;
}

QString contactOf(const _MsgMessage &message)
{
    if (message.item_type == 0)
        return senderLabel(message);
    return message.chat ? chatTitle(*message.chat, false) : QString();
}

QString textOf(const _MsgMessage &message, int column, EmojiStyle emoji)
{
    switch (column) {
    case ItemModelSms::Date:
        return QLocale::system().toString(appleDateTime(message.date), QLocale::ShortFormat);
    case ItemModelSms::Flag: return directionOf(message);
    case ItemModelSms::Contact: return contactOf(message);
    default: return renderText(message, emoji);
    }
}

QVariant backgroundOf(const _MsgMessage &message)
{
    if (isDarkPalette())
        return message.is_from_me ? QVariant(QBrush(QColor(43, 56, 34))) : QVariant();
    return QBrush(message.is_from_me ? QColor(245, 255, 226) : QColor(Qt::white));
}

QVariant foregroundOf(const _MsgMessage &message)
{
    if (message.isRecovered)
        return recoveredColour();
    return isRecentlyDeleted(message) ? QVariant(QColor(Qt::gray)) : QVariant();
}

} // namespace

ItemModelSms::ItemModelSms(QObject *parent)
    : QAbstractItemModel(parent)
    , imessageSent(programIcon(u":res/imsg-send.png"_s))
    , imessageReceived(programIcon(u":res/imsg-rec.png"_s))
    , smsSent(programIcon(u":res/icon_sms-sent.png"_s))
    , smsReceived(programIcon(u":res/icon_sms-receive.png"_s))
{
}

QModelIndex ItemModelSms::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    // Only the first column carries the message, so that a selection of whole rows yields each once.
    return createIndex(row, column, column == Date ? messages().at(row) : nullptr);
}

QModelIndex ItemModelSms::parent(const QModelIndex &) const
{
    return {};
}

int ItemModelSms::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(messages().size());
}

int ItemModelSms::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ItemModelSms::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const _MsgMessage &message = *messages().at(index.row());
    switch (role) {
    case Qt::ToolTipRole:
        if (index.column() == Content)
            return fullText(message, emoji);
        [[fallthrough]];
    case Qt::DisplayRole: return textOf(message, index.column(), emoji);
    case Qt::DecorationRole: return index.column() == Date ? QVariant(iconOf(message)) : QVariant();
    case Qt::BackgroundRole: return backgroundOf(message);
    case Qt::SizeHintRole: return QSize(0, 23);
    case Qt::ForegroundRole: return foregroundOf(message);
    default: return {};
    }
}

QVariant ItemModelSms::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const QStringList names{u"Date"_s, u"Flag"_s, u"Contact"_s, u"Content"_s};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return names.value(section);
}

void ItemModelSms::setMessages(const MessageList &shown)
{
    beginResetModel();
    list = shown;
    endResetModel();
}

void ItemModelSms::clear()
{
    setMessages({});
}

void ItemModelSms::setEmojiStyle(EmojiStyle style)
{
    emoji = style;
    if (!messages().isEmpty())
        Q_EMIT dataChanged(index(0, Content), index(int(messages().size()) - 1, Content));
}

QModelIndex ItemModelSms::indexOfRow(int row) const
{
    return index(row, Date);
}

_MsgMessage *ItemModelSms::messageOf(const QModelIndex &index)
{
    return static_cast<_MsgMessage *>(index.internalPointer());
}

const QIcon &ItemModelSms::iconOf(const _MsgMessage &message) const
{
    if (message.service.compare("iMessage"_L1, Qt::CaseInsensitive) == 0)
        return message.is_from_me ? imessageSent : imessageReceived;
    return message.is_from_me ? smsSent : smsReceived;
}
