#pragma once

#include "store/records/messagetext.h"
#include "ui/models/messagelist.h"

#include <QAbstractItemModel>
#include <QIcon>

/// The messages on view, as a flat table of date, direction, contact and text. Texts are made when a row
/// comes into sight.
class ItemModelSms : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { Date, Flag, Contact, Content, ColumnCount };

    explicit ItemModelSms(QObject *parent = nullptr);

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// Shows `shown` in the order given.
    void setMessages(const MessageList &shown);
    void clear();
    /// How the texts show emoji from now on.
    void setEmojiStyle(EmojiStyle style);
    const QList<_MsgMessage *> &messages() const { return list.messages; }
    const MessageList &messageList() const { return list; }

    /// Column 0 of `row`; invalid when there is no such row.
    QModelIndex indexOfRow(int row) const;
    /// The message that an index of column 0 carries; null for any other index.
    static _MsgMessage *messageOf(const QModelIndex &index);

private:
    const QIcon &iconOf(const _MsgMessage &message) const;

    MessageList list;
    EmojiStyle emoji = EmojiStyle::Markers;
    const QIcon imessageSent, imessageReceived, smsSent, smsReceived;
};
