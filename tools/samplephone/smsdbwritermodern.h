#pragma once

#include "smsdbwriter.h"

#include <QHash>
#include <QSet>

#include <optional>

/// Writes the tables of iOS 11 to 26.
class SmsDbWriterModern final : public SmsDbWriter
{
public:
    SmsDbWriterModern(const QString &path, IosVersion version);

    int addChat(const SampleChat &chat) override;
    void addMessage(const SampleMessage &message) override;

private:
    struct ChatRow {
        qint64 rowid;
        QString service;
        QString room_name;
    };

    void settle() override;

    QString guidOf(const SampleChat &chat, const SampleChatIdentity &identity);
    qint64 handleRowid(const SampleHandle &handle, const QString &service);
    void writeLookup(qint64 chat, const SampleChat &told, const QString &identifier);
    void writeRow(qint64 rowid, const SampleMessage &message);
    void writeExtras(qint64 rowid, const SampleMessage &message);
    void writeLaterExtras(qint64 rowid, const SampleMessage &message);
    void writeEvent(qint64 rowid, const SampleMessage &message);
    void writeJoins(qint64 rowid, const SampleMessage &message);
    void writeAttachment(qint64 messageRowid, const SampleMessage &message, int place);
    void erase(qint64 rowid, const SampleMessage &message);
    QString roomNames(const SampleMessage &message) const;
    QString serviceOfHandle(const SampleMessage &message) const;

    SampleStatement insertMessage;
    SampleStatement insertChatMessage;
    SampleStatement updateEvent;
    SampleStatement updateExtras;
    std::optional<SampleStatement> updateIos16;
    std::optional<SampleStatement> updateIos18;
    SampleStatement insertAttachment;
    SampleStatement joinAttachment;
    QHash<QPair<QString, QString>, qint64> handles;
    QSet<QString> chatGuids;
    QList<ChatRow> chats;
    qint64 highestRowid = 0;
    bool hasErased = false;
};
