#include "export/messagecolumns.h"

using namespace Qt::StringLiterals;

namespace
{

template <typename List, typename Text>
QString lines(const List &list, Text text)
{
    QStringList lines;
    for (const auto &entry : list)
        lines.append(text(entry));
    return lines.join(u'\n');
}

QString attachmentText(const RecordAttachment &attachment)
{
    QString text = u"%1 (%2 bytes"_s.arg(attachment.name).arg(attachment.bytes);
    if (!attachment.sha256.isEmpty())
        text += u", SHA-256 "_s + attachment.sha256;
    if (!attachment.missingReason.isEmpty())
        text += u", "_s + attachment.missingReason;
    return text + u')';
}

QString reactionText(const RecordReaction &reaction)
{
    const QString who = personText(reaction.who, reaction.isFromMe);
    QString text = isoText(reaction.date) + u' ' + who + u": "_s + reaction.kind;
    if (!reaction.emoji.isEmpty())
        text += u' ' + reaction.emoji;
    if (reaction.part > 0)
        text += u" (part %1)"_s.arg(reaction.part + 1);
    for (const RecordAttachment &attachment : reaction.attachments)
        text += u", "_s + attachmentText(attachment);
    return text;
}

QString editsText(const QList<RecordEdit> &edits)
{
    return lines(edits, [](const RecordEdit &edit) -> QString {
        return u"%1 part %2: "_s.arg(isoText(edit.date)).arg(edit.part + 1) + edit.text;
    });
}

QString partsText(const MessageRecord &record)
{
    return lines(record.parts, [&](const RecordPart &part) -> QString {
        return part.attachment < 0 ? part.text : u'[' + record.attachments.at(part.attachment).name + u']';
    });
}

QString othersText(const MessageRecord &record)
{
    return lines(record.others, [](const RecordPerson &person) { return personText(person, false); });
}

using Message = TableColumn<MessageRecord>;
using Attachment = TableColumn<AttachmentRow>;
using Person = TableColumn<PersonRow>;

constexpr Message messageTable[] = {
    {"rowid", [](const MessageRecord &m) -> QVariant { return m.rowid; }},
    {"date", [](const MessageRecord &m) -> QVariant { return m.date; }},
    {"is_from_me", [](const MessageRecord &m) -> QVariant { return m.isFromMe; }},
    {"sender_name", [](const MessageRecord &m) -> QVariant { return m.sender.name; }},
    {"sender_address", [](const MessageRecord &m) -> QVariant { return m.sender.address; }},
    {"text", [](const MessageRecord &m) -> QVariant { return m.words; }},
    {"conversation", [](const MessageRecord &m) -> QVariant { return m.conversation; }},
    {"chat_identifier", [](const MessageRecord &m) -> QVariant { return m.chat_identifier; }},
    {"others", [](const MessageRecord &m) -> QVariant { return othersText(m); }},
    {"own_address", [](const MessageRecord &m) -> QVariant { return m.ownAddress; }},
    {"service", [](const MessageRecord &m) -> QVariant { return m.service; }},
    {"event", [](const MessageRecord &m) -> QVariant { return m.isEvent; }},
    {"subject", [](const MessageRecord &m) -> QVariant { return m.subject; }},
    {"parts", [](const MessageRecord &m) -> QVariant { return partsText(m); }},
    {"body", [](const MessageRecord &m) -> QVariant { return m.body; }},
    {"attachments", [](const MessageRecord &m) -> QVariant { return lines(m.attachments, attachmentText); }},
    {"content_kind", [](const MessageRecord &m) -> QVariant { return m.contentKind; }},
    {"content", [](const MessageRecord &m) -> QVariant { return m.content.join(u'\n'); }},
    {"transcripts_and_translations",
     [](const MessageRecord &m) -> QVariant { return m.besideWords.join(u'\n'); }},
    {"effect", [](const MessageRecord &m) -> QVariant { return m.effect; }},
    {"reply_to", [](const MessageRecord &m) -> QVariant { return m.replyTo; }},
    {"answered", [](const MessageRecord &m) -> QVariant { return m.answeredWords; }},
    {"reactions", [](const MessageRecord &m) -> QVariant { return lines(m.reactions, reactionText); }},
    {"date_delivered", [](const MessageRecord &m) -> QVariant { return m.dateDelivered; }},
    {"date_read", [](const MessageRecord &m) -> QVariant { return m.dateRead; }},
    {"date_played", [](const MessageRecord &m) -> QVariant { return m.datePlayed; }},
    {"not_delivered", [](const MessageRecord &m) -> QVariant { return m.isNotDelivered; }},
    {"to_be_sent_later", [](const MessageRecord &m) -> QVariant { return m.isToBeSentLater; }},
    {"date_edited", [](const MessageRecord &m) -> QVariant { return m.dateEdited; }},
    {"edits", [](const MessageRecord &m) -> QVariant { return editsText(m.edits); }},
    {"unsent", [](const MessageRecord &m) -> QVariant { return m.isUnsent; }},
    {"date_unsent", [](const MessageRecord &m) -> QVariant { return m.dateUnsent; }},
    {"deleted_at", [](const MessageRecord &m) -> QVariant { return m.dateDeleted; }},
    {"deleted_parts", [](const MessageRecord &m) -> QVariant { return editsText(m.deletedParts); }},
    {"recovered", [](const MessageRecord &m) -> QVariant { return m.isRecovered; }},
    {"guid", [](const MessageRecord &m) -> QVariant { return m.guid; }},
};

constexpr Attachment attachmentTable[] = {
    {"message_rowid", [](const AttachmentRow &row) -> QVariant { return row.message.rowid; }},
    {"message_date", [](const AttachmentRow &row) -> QVariant { return row.message.date; }},
    {"conversation", [](const AttachmentRow &row) -> QVariant { return row.message.conversation; }},
    {"name", [](const AttachmentRow &row) -> QVariant { return row.attachment.name; }},
    {"mime_type", [](const AttachmentRow &row) -> QVariant { return row.attachment.source->mime_type; }},
    {"bytes", [](const AttachmentRow &row) -> QVariant { return row.attachment.bytes; }},
    {"sha256", [](const AttachmentRow &row) -> QVariant { return row.attachment.sha256; }},
    {"missing", [](const AttachmentRow &row) -> QVariant { return row.attachment.missingReason; }},
    {"sticker", [](const AttachmentRow &row) -> QVariant { return row.attachment.source->is_sticker != 0; }},
    {"hidden",
     [](const AttachmentRow &row) -> QVariant { return row.attachment.source->hide_attachment != 0; }},
    {"path_on_phone", [](const AttachmentRow &row) -> QVariant { return row.attachment.source->filename; }},
    {"message_guid", [](const AttachmentRow &row) -> QVariant { return row.message.guid; }},
};

constexpr Person personTable[] = {
    {"name", [](const PersonRow &row) -> QVariant { return row.person.name; }},
    {"address", [](const PersonRow &row) -> QVariant { return row.person.address; }},
    {"messages_sent", [](const PersonRow &row) -> QVariant { return row.sent; }},
    {"reactions", [](const PersonRow &row) -> QVariant { return row.reactions; }},
    {"conversations", [](const PersonRow &row) -> QVariant { return row.conversations; }},
};

} // namespace

std::span<const TableColumn<MessageRecord>> messageColumns()
{
    return messageTable;
}

std::span<const TableColumn<AttachmentRow>> attachmentColumns()
{
    return attachmentTable;
}

std::span<const TableColumn<PersonRow>> personColumns()
{
    return personTable;
}

QList<RecordAttachment> allAttachments(const MessageRecord &record)
{
    QList<RecordAttachment> all = record.attachments;
    for (const RecordReaction &reaction : record.reactions)
        all.append(reaction.attachments);
    return all;
}
