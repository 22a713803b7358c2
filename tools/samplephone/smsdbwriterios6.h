#pragma once

#include "smsdbwriter.h"

#include <QHash>

#include <optional>

/// Writes the tables message, chat, handle and attachment of iOS 6, 7 and 8.
class SmsDbWriterIos6 final : public SmsDbWriter
{
public:
    SmsDbWriterIos6(const QString &path, IosVersion version);

    int addChat(const SampleChat &chat) override;
    void addMessage(const SampleMessage &message) override;

private:
    struct ChatRow {
        qint64 rowid;
        QString room_name;
    };

    void settle() override;
    qint64 handleRowid(const SampleHandle &handle, const QString &service);
    void addAttachment(qint64 messageRowid, const SampleMessage &message, const SampleAttachment &attachment,
                       int place);
    void writeRow(const SampleMessage &message);
    void writeLaterColumns(qint64 rowid, const SampleMessage &message);
    QString roomNames(const SampleMessage &message) const;
    void checkEvent(const SampleMessage &message) const;

    SampleStatement insertMessage;
    SampleStatement insertChatMessage;
    std::optional<SampleStatement> updateLaterColumns;
    QHash<QPair<QString, QString>, qint64> handles;
    QList<ChatRow> chats;
    qint64 receivedCount = 0;
    qint64 sentCount = 0;
};
