#pragma once

#include "messagerecords.h"

/// Fills a store with people, chats and messages:
/// fixture.chat(1, u"+34612345678"_s, {fixture.person(u"Ana"_s)}).message(u"Hola"_s).
class MessageFixture
{
public:
    const _MsgStorePtr store{new _MsgStore};

    _MsgHandle *person(const QString &name, const QByteArray &photo = {})
    {
        auto *handle = new _MsgHandle;
        handle->rowid = store->handles.size() + 1;
        handle->id = QStringLiteral("+3460000%1").arg(handle->rowid);
        handle->_ct_name = name;
        handle->_photo = photo;
        store->handles.insert(handle->rowid, handle);
        return handle;
    }

    MessageFixture &chat(qint64 rowid, const QString &identifier, const QList<_MsgHandle *> &people,
                         int last = 0)
    {
        current = new _MsgChat;
        current->rowid = rowid;
        current->chat_identifier = identifier;
        current->_last = last;
        for (_MsgHandle *handle : people)
            current->handles.insert(QString::number(handle->rowid), handle);
        store->chats.insert(rowid, current);
        return *this;
    }

    /// A message of the chat made last, a minute after the one before; the row numbers count from 1.
    _MsgMessage *message(const QString &text, int fromMe = 0)
    {
        auto *message = new _MsgMessage;
        message->rowid = message->src_rowid = store->messages.size() + 1;
        message->text = text;
        message->date = 400'000'000 + int(message->rowid) * 60;
        message->is_from_me = fromMe;
        message->chat = current;
        if (current && !current->handles.isEmpty())
            message->handle = *current->handles.begin();
        store->messages.insert(message->rowid, message);
        inOrder.append(message);
        return message;
    }
    QList<_MsgMessage *> messages(int count)
    {
        while (inOrder.size() < count)
            message(QStringLiteral("text %1").arg(inOrder.size()), int(inOrder.size() % 2));
        return inOrder;
    }

private:
    _MsgChat *current = nullptr;
    QList<_MsgMessage *> inOrder;
};
