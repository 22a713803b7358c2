#pragma once

#include "export/exporttarget.h"
#include "export/messagerecord.h"
#include "store/records/absformatexport.h"

struct _MsgMessage;

/// How many of `messages` stand in such a file; the others are events.
qint64 countCarriedByAndroid(const QList<_MsgMessage *> &messages);

/// The XML that programs which restore messages on Android read: an "sms" for words to or from one person, an
/// "mms" with its parts and addresses for attachments, groups and subjects. What such a phone has no place
/// for (reactions, edits, effects, replies) stands in words below the text; events of a conversation and
/// files that aren't there can't be carried, which a comment at the top counts.
class ExportAndroid final : public AbsFormatExport<_MsgMessage>
{
public:
    /// `messages` are those that will be written: their number stands at the top.
    ExportAndroid(const QString &path, const QList<_MsgMessage *> &messages);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    void writeSms(const MessageRecord &record, const QString &text);
    void writeMms(const MessageRecord &record, const QString &text);
    void writeParts(const MessageRecord &record, const QString &text);
    void writeFile(const RecordAttachment &attachment, int number);
    void writeAddresses(const MessageRecord &record);
    void attribute(QLatin1StringView name, const QString &value);

    ExportTarget target;
    MessageRecordMaker records;
    qint64 carried = 0;
    qint64 events = 0;
    qsizetype missingFiles = 0;
};
