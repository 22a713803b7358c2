#pragma once

#include "jobprogress.h"
#include "messagerecords.h"

#include <QFile>

#include <deque>

/// A chat and its messages, told in the order in which they came.
class Conversation
{
public:
    explicit Conversation(const QList<_MsgHandle> &members,
                          const QString &identifier = QStringLiteral("chat1"), qint64 chatRowid = 1)
    {
        chat.rowid = chatRowid;
        chat.chat_identifier = identifier;
        for (const _MsgHandle &member : members) {
            handles.push_back(member);
            handles.back().rowid = qint64(handles.size());
            chat.handles.insert(QString::number(handles.size()), &handles.back());
        }
    }

    _MsgMessage &add(const QString &text, bool sent = false)
    {
        _MsgMessage &message = messages.emplace_back();
        message.rowid = chat.rowid * 1000 + qint64(messages.size());
        message.text = text;
        message.is_from_me = sent ? 1 : 0;
        message.date = 400'000'000 + int(messages.size()) * 60; // 2013-09-04 15:06:40 UTC and on
        message.chat = &chat;
        message.handle = handles.empty() ? nullptr : &handles.front();
        return message;
    }

    QList<_MsgMessage *> all()
    {
        QList<_MsgMessage *> list;
        for (_MsgMessage &message : messages)
            list.append(&message);
        return list;
    }

    _MsgChat chat;
    std::deque<_MsgHandle> handles;
    std::deque<_MsgMessage> messages;
};

inline _MsgHandle person(const QString &address, const QString &name = {})
{
    _MsgHandle handle;
    handle.id = address;
    handle._ct_name = name;
    return handle;
}

class SilentProgress final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override { cancelled = cancelOnReport; }
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}

    bool cancelOnReport = false;
};

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
