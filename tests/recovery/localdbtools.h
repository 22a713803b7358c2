#pragma once

#include "jobprogress.h"
#include "messagerecords.h"
#include "sqlite3db.h"

#include <QFile>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

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

inline qint64 countOf(const QString &path, const QString &table)
{
    return rowsOf(path, QStringLiteral("select count(*) from ") + table).first().toLongLong();
}

/// Rows of each table, for "nothing has changed".
inline QString countsOf(const QString &path)
{
    return rowsOf(path,
                  QStringLiteral(
                      "select (select count(*) from message), (select count(*) from chat), (select count(*) "
                      "from "
                      "handle), (select count(*) from attachment), (select count(*) from chat_handle_join), "
                      "(select count(*) from chat_message_join), (select count(*) from "
                      "message_attachment_join)"))
        .first();
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
    void errorOccurred(const QString &text) override { error = text; }
    void succeed(const QString &text) override { success = text; }
    void tipsWait(const QString &) override {}

    QString error;
    QString success = QStringLiteral("not reported");
    int updates = 0;
    int cancelAtUpdate = -1;
};

/// Tells messages in the order in which they came, as records of a source:
/// Records().chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Sí"_s).list(). Each is a minute later. A
/// call on "the message" means the one told last.
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
        chats.push_back(std::make_unique<_MsgChat>());
        current = chats.back().get();
        current->rowid = qint64(chats.size());
        current->chat_identifier = identifier;
        current->service_name = service;
        current->style = addresses.size() > 1 ? 43 : 45;
        current->guid =
            service + (addresses.size() > 1 ? QStringLiteral(";+;") : QStringLiteral(";-;")) + identifier;
        for (const QString &address : addresses) {
            _MsgHandle *member = addHandle(address, service);
            current->handles.insert(QString::number(member->rowid), member);
        }
        return *this;
    }
    Records &received(const QString &text) { return add(text, 0); }
    Records &sent(const QString &text) { return add(text, 1); }
    Records &event(int itemType)
    {
        add({}, 0);
        last().item_type = itemType;
        return *this;
    }
    Records &attachment(const QString &filename, const QString &localFile = {})
    {
        attachments.push_back(std::make_unique<_MsgAttachment>());
        _MsgAttachment &added = *attachments.back();
        added.rowid = qint64(attachments.size());
        added.guid = guidPrefix + QStringLiteral("-attachment-%1").arg(added.rowid);
        added.filename = filename;
        added.localFile = localFile;
        last().attachments.insert(added.guid, &added);
        return *this;
    }
    /// Changes any field of the message.
    template <typename Change>
    Records &with(Change change)
    {
        change(last());
        return *this;
    }
    _MsgHandle *addHandle(const QString &address, const QString &service)
    {
        handles.push_back(std::make_unique<_MsgHandle>());
        _MsgHandle &handle = *handles.back();
        handle.rowid = qint64(handles.size());
        handle.id = address;
        handle.service = service;
        return &handle;
    }
    _MsgMessage &last() { return *messages.back(); }
    QList<_MsgMessage *> list() const
    {
        QList<_MsgMessage *> all;
        for (const auto &message : messages)
            all.append(message.get());
        return all;
    }

private:
    Records &add(const QString &text, int isFromMe)
    {
        messages.push_back(std::make_unique<_MsgMessage>());
        _MsgMessage &message = last();
        message.rowid = message.src_rowid = qint64(messages.size());
        message.guid = guidPrefix + QStringLiteral("-%1").arg(message.rowid);
        message.text = text;
        message.is_from_me = isFromMe;
        message.service = current->service_name;
        message.date = 400'000'000 + int(message.rowid) * 60;
        message.chat = current;
        QList<_MsgHandle *> members = current->handles.values();
        message.handle = *std::min_element(members.begin(), members.end(),
                                           [](auto *a, auto *b) { return a->rowid < b->rowid; });
        return *this;
    }

    QString guidPrefix;
    _MsgChat *current = nullptr;
    std::vector<std::unique_ptr<_MsgChat>> chats;
    std::vector<std::unique_ptr<_MsgHandle>> handles;
    std::vector<std::unique_ptr<_MsgAttachment>> attachments;
    std::vector<std::unique_ptr<_MsgMessage>> messages;
};
