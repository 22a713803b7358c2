#pragma once

#include "testing/builders/smsdbwritersince6.h"

#include <QSet>

#include <optional>

/// Writes the tables of iOS 11 to 26.
class SmsDbWriterModern final : public SmsDbWriterSince6
{
public:
    SmsDbWriterModern(const QString &path, IosVersion generation);

    int addChat(const SampleChat &chat) override;
    void addMessage(const SampleMessage &message) override;

private:
    void settle() override;

    QString guidOf(const SampleChat &chat, const SampleChatIdentity &identity);
    void writeLookup(qint64 chat, const SampleChat &told, const QString &identifier);
    void writeRow(qint64 rowid, const SampleMessage &message);
    void writeExtras(qint64 rowid, const SampleMessage &message);
    void writeLaterExtras(qint64 rowid, const SampleMessage &message);
    void writeEvent(qint64 rowid, const SampleMessage &message);
    void writeJoins(qint64 rowid, const SampleMessage &message);
    void writeAttachment(qint64 messageRowid, const SampleMessage &message, int place);
    void erase(qint64 rowid, const SampleMessage &message);
    QString serviceOfHandle(const SampleMessage &message) const;

    SampleStatement insertMessage;
    SampleStatement insertChatMessage;
    SampleStatement updateEvent;
    SampleStatement updateExtras;
    std::optional<SampleStatement> updateIos16;
    std::optional<SampleStatement> updateIos18;
    SampleStatement insertAttachment;
    SampleStatement joinAttachment;
    QSet<QString> chatGuids;
    qint64 highestRowid = 0;
    bool hasErased = false;
};
