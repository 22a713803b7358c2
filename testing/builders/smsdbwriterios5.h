#pragma once

#include "testing/builders/smsdbwriter.h"

#include <QHash>

/// Writes the tables of iOS 5: SMS in msg_group and group_member, iMessage in madrid_chat, both in one
/// table message.
class SmsDbWriterIos5 final : public SmsDbWriter
{
public:
    explicit SmsDbWriterIos5(const QString &path);

    int addChat(const SampleChat &chat) override;
    void addMessage(const SampleMessage &message) override;

private:
    struct ChatRow {
        qint64 groupRowid = 0; ///< in msg_group; 0 for an iMessage chat
        QString handle;        ///< the one partner
        QString room_name;     ///< of a group of iMessage
        int unread = 0;
        qint64 newest = 0;
    };

    void settle() override;
    ChatRow addGroup(const SampleChat &chat);
    ChatRow addMadridChat(const SampleChat &chat);
    void writeSms(const SampleMessage &message, const ChatRow &chat);
    void writeMadrid(const SampleMessage &message, const ChatRow &chat);
    void addPieces(qint64 messageRowid, const SampleMessage &message);
    void addMadridAttachments(qint64 messageRowid, const SampleMessage &message);

    SampleStatement insertSms;
    SampleStatement insertMadrid;
    QList<ChatRow> chats;
};
