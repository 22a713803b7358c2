#pragma once

#include "testing/builders/smsdbwritersince6.h"

#include <optional>

/// Writes the tables message, chat, handle and attachment of iOS 6, 7 and 8.
class SmsDbWriterIos6 final : public SmsDbWriterSince6
{
public:
    SmsDbWriterIos6(const QString &path, IosVersion generation);

    int addChat(const SampleChat &chat) override;
    void addMessage(const SampleMessage &message) override;

private:
    void settle() override;
    void addAttachment(qint64 messageRowid, const SampleMessage &message, const SampleAttachment &attachment,
                       int place);
    void writeRow(const SampleMessage &message);
    void writeLaterColumns(qint64 rowid, const SampleMessage &message);
    void checkEvent(const SampleMessage &message) const;

    SampleStatement insertMessage;
    SampleStatement insertChatMessage;
    std::optional<SampleStatement> updateLaterColumns;
    qint64 receivedCount = 0;
    qint64 sentCount = 0;
};
