#pragma once

#include "store/records/messagerecords.h"

inline _MsgHandle person(const QString &address, const QString &name = {}, const QByteArray &photo = {})
{
    _MsgHandle handle;
    handle.id = address;
    handle._ct_name = name;
    handle._photo = photo;
    return handle;
}

/// Tells messages in the order in which they came, as records of a source:
/// Records().chat(u"+34612345678"_s).received(u"Hola"_s).list(). Each is a minute later, the first of
/// 2013-09-04 15:07:40 UTC.
class Records
{
public:
    /// `prefix` begins every guid: two phones have two.
    explicit Records(const QString &prefix = QStringLiteral("A")) : guidPrefix(prefix) {}

    Records &chat(const QString &address, const QString &service = QStringLiteral("SMS"))
    {
        return talk({person(address)}, address, service);
    }
    Records &group(const QStringList &addresses, const QString &service = QStringLiteral("iMessage"))
    {
        QList<_MsgHandle> members;
        for (const QString &address : addresses)
            members.append(person(address));
        return talk(members, QStringLiteral("chat123"), service);
    }
    /// Further messages belong to this chat, the received ones come from its first member.
    Records &talk(const QList<_MsgHandle> &members, const QString &identifier = QStringLiteral("chat1"),
                  const QString &service = QStringLiteral("SMS"))
    {
        chatMade = new _MsgChat;
        chatMade->rowid = store->chats.size() + 1;
        chatMade->chat_identifier = identifier;
        chatMade->service_name = service;
        chatMade->guid = service + (members.size() > 1 ? u";+;" : u";-;") + identifier;
        store->chats.insert(chatMade->rowid, chatMade);
        partner = nullptr;
        for (const _MsgHandle &member : members) {
            auto *handle = new _MsgHandle(member);
            handle->rowid = store->handles.size() + 1;
            handle->service = service;
            chatMade->handles.insert(QString::number(handle->rowid), handle);
            store->handles.insert(handle->rowid, handle);
            partner = partner ? partner : handle;
        }
        return *this;
    }
    Records &received(const QString &text)
    {
        auto *message = new _MsgMessage;
        message->rowid = message->src_rowid = told.size() + 1;
        message->guid = guidPrefix + QStringLiteral("-%1").arg(message->rowid);
        message->text = text;
        message->date = 400'000'000 + int(message->rowid) * 60;
        message->chat = chatMade;
        message->service = chatMade ? chatMade->service_name : QString();
        message->handle = partner;
        store->messages.insert(message->rowid, message);
        told.append(message);
        return *this;
    }
    Records &sent(const QString &text)
    {
        received(text).last().is_from_me = 1;
        return *this;
    }
    /// Belongs to the message told last.
    Records &attachment(const QString &filename, const QString &localFile = {})
    {
        auto *added = new _MsgAttachment;
        added->rowid = store->attachments.size() + 1;
        added->guid = guidPrefix + QStringLiteral("-attachment-%1").arg(added->rowid);
        added->filename = filename;
        added->localFile = localFile;
        store->attachments.insert(added->rowid, added);
        last().attachments.insert(added->guid, added);
        return *this;
    }
    _MsgMessage &last() { return *told.last(); }
    _MsgChat &lastChat() { return *chatMade; }
    QList<_MsgMessage *> list() const { return told; }
    /// "text 0" received, "text 1" sent and so on, until there are `count`.
    QList<_MsgMessage *> upTo(int count)
    {
        for (qsizetype i = told.size(); i < count; ++i)
            received(QStringLiteral("text %1").arg(i)).last().is_from_me = i % 2;
        return told;
    }

    _MsgStorePtr store{new _MsgStore};

private:
    QString guidPrefix;
    _MsgChat *chatMade = nullptr;
    _MsgHandle *partner = nullptr;
    QList<_MsgMessage *> told;
};
