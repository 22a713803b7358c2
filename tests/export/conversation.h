#pragma once

#include "jobprogress.h"
#include "messagerecords.h"

#include <QFile>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

/// A chat and its messages, told in the order in which they came.
class Conversation
{
public:
    explicit Conversation(const QList<_MsgHandle> &members, const QString &identifier = u"chat1"_s,
                          qint64 chatRowid = 1)
    {
        chat.rowid = chatRowid;
        chat.chat_identifier = identifier;
        for (const _MsgHandle &member : members) {
            handles.push_back(std::make_unique<_MsgHandle>(member));
            handles.back()->rowid = qint64(handles.size());
            chat.handles.insert(QString::number(handles.size()), handles.back().get());
        }
    }

    _MsgMessage &add(const QString &text, bool sent = false)
    {
        messages.push_back(std::make_unique<_MsgMessage>());
        _MsgMessage &message = *messages.back();
        message.rowid = chat.rowid * 1000 + qint64(messages.size());
        message.text = text;
        message.is_from_me = sent ? 1 : 0;
        message.date = 400'000'000 + int(messages.size()) * 60; // 2013-09-04 15:06:40 UTC and on
        message.chat = &chat;
        message.handle = handles.empty() ? nullptr : handles.front().get();
        return message;
    }

    QList<_MsgMessage *> all() const
    {
        QList<_MsgMessage *> list;
        for (const std::unique_ptr<_MsgMessage> &message : messages)
            list.append(message.get());
        return list;
    }

    _MsgChat chat;
    std::vector<std::unique_ptr<_MsgHandle>> handles;
    std::vector<std::unique_ptr<_MsgMessage>> messages;
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
    void updateProgress(const QString &, int percent, const QString &) override
    {
        lastPercent = percent;
        if (cancelAfterReports >= 0 && reports++ >= cancelAfterReports)
            cancelled = true;
    }
    void errorOccurred(const QString &err) override { error = err; }
    void succeed(const QString &tips) override { success = tips; }
    void tipsWait(const QString &) override {}

    int cancelAfterReports = -1;
    int reports = 0;
    int lastPercent = 0;
    QString error;
    QString success;
};

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
