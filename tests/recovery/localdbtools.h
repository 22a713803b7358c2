#pragma once

#include "jobprogress.h"
#include "messagerecords.h"
#include "rc4.h"
#include "sqlite3db.h"

#include <QFile>

#include <deque>
#include <functional>

/// Rows of a query on the file `path`, columns joined by "|", NULL as "null".
inline QStringList rowsOf(const QString &path, const QString &sql)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QStringList rows;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    while (cursor.moveNextThrow()) {
        QStringList columns;
        for (int i = 0; i < cursor.count(); ++i)
            columns.append(cursor.isNull(i) ? QStringLiteral("null") : cursor.getText(i));
        rows.append(columns.join(u'|'));
    }
    return rows;
}

/// Rows of message, chat, handle and attachment, then of the joins chat_handle, chat_message and
/// message_attachment.
inline QString countsOf(const QString &path)
{
    QStringList counts;
    for (const char *table : {"message", "chat", "handle", "attachment", "chat_handle_join",
                              "chat_message_join", "message_attachment_join"})
        counts += rowsOf(path, QStringLiteral("select count(*) from ") + QLatin1String(table));
    return counts.join(u'|');
}

inline void runOn(const QString &path, const QString &script)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWriteCreate);
    QString error;
    if (db.exec(script, error) != 0)
        throw std::runtime_error(error.toStdString());
}

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// What `work` throws; empty when it doesn't.
inline QString failureOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const std::runtime_error &error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

/// Keeps what a job reports, and can cancel it on the way.
class RecordingProgress final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override
    {
        if (++updates == cancelAtUpdate)
            cancelled = true;
    }
    void errorOccurred(const QString &text) override { outcome = text; }
    void succeed(const QString &text) override { outcome = text; }
    void tipsWait(const QString &) override {}

    QString outcome = QStringLiteral("not reported");
    int updates = 0;
    int cancelAtUpdate = -1;
};

/// Tells messages in the order in which they came, as records of a source:
/// Records().chat(u"+34612345678"_s).received(u"Hola"_s).list(). Each is a minute later.
class Records
{
public:
    /// `prefix` begins every guid: two phones have two.
    explicit Records(const QString &prefix = QStringLiteral("A")) : guidPrefix(prefix) {}

    Records &chat(const QString &address, const QString &service = QStringLiteral("SMS"))
    {
        return group({address}, service, address);
    }
    Records &group(const QStringList &addresses, const QString &service = QStringLiteral("iMessage"),
                   const QString &identifier = QStringLiteral("chat123"))
    {
        const bool isGroup = addresses.size() > 1;
        _MsgChat &chat = chats.emplace_back();
        chat.rowid = qint64(chats.size());
        chat.chat_identifier = identifier;
        chat.service_name = service;
        chat.guid = service + (isGroup ? QStringLiteral(";+;") : QStringLiteral(";-;")) + identifier;
        firstMember = handles.size();
        for (const QString &address : addresses) {
            _MsgHandle &handle = handles.emplace_back();
            handle.rowid = qint64(handles.size());
            handle.id = address;
            handle.service = service;
            chat.handles.insert(QString::number(handle.rowid), &handle);
        }
        return *this;
    }
    Records &received(const QString &text)
    {
        _MsgMessage &message = messages.emplace_back();
        message.rowid = message.src_rowid = qint64(messages.size());
        message.guid = guidPrefix + QStringLiteral("-%1").arg(message.rowid);
        message.text = text;
        message.date = 400'000'000 + int(message.rowid) * 60;
        message.chat = &chats.back();
        message.service = message.chat->service_name;
        message.handle = &handles[firstMember];
        return *this;
    }
    /// Belongs to the message told last.
    Records &attachment(const QString &filename, const QString &localFile = {})
    {
        _MsgAttachment &added = attachments.emplace_back();
        added.guid = guidPrefix + QStringLiteral("-attachment-%1").arg(attachments.size());
        added.filename = filename;
        added.localFile = localFile;
        last().attachments.insert(added.guid, &added);
        return *this;
    }
    _MsgMessage &last() { return messages.back(); }
    QList<_MsgMessage *> list()
    {
        QList<_MsgMessage *> all;
        for (_MsgMessage &message : messages)
            all.append(&message);
        return all;
    }

private:
    QString guidPrefix;
    size_t firstMember = 0;
    std::deque<_MsgChat> chats;
    std::deque<_MsgHandle> handles;
    std::deque<_MsgAttachment> attachments;
    std::deque<_MsgMessage> messages;
};

/// The statement that adds a message to a file of the old format. A null `text` is a row without a body,
/// `date` is in seconds since 1970.
inline QString oldMessage(const QString &address, const QString &text, qint64 date, bool isSent = false)
{
    const QByteArray body = rc4("2F9B63A1C07D48E5B1D6E3047A9C15F8", text.toUtf8()).toHex();
    return QStringLiteral("insert into sms values('%1',nullif(x'%2',x''),'Ana',%3,%4);")
        .arg(address, QString::fromLatin1(body), QString::number(date), QString::number(isSent));
}

inline void writeOldFile(const QString &path, const QString &messages)
{
    runOn(path, QStringLiteral("begin; create table sms(number, content, who, time, sent);"
                               "create view view_sms as select number as address, content as body, who as "
                               "person, time as date, sent as is_send from sms;%1commit;")
                    .arg(messages));
}
