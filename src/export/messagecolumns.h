#pragma once

#include "export/messagerecord.h"

#include <QVariant>

#include <span>

// A record as a row of a table: what CSV with all columns and the sheets of a workbook have in common. Of
// lists, each entry is a line of its cell.

template <typename Record>
struct TableColumn {
    const char *name;
    /// A `QString`, a `QDateTime` (invalid: none), a `bool` or a `qint64`.
    QVariant (*value)(const Record &record);
};

/// An attachment beside its message.
struct AttachmentRow {
    const MessageRecord &message;
    const RecordAttachment &attachment;
};

/// Somebody who takes part, and in how much.
struct PersonRow {
    RecordPerson person;
    qint64 sent = 0; ///< by this person
    qint64 reactions = 0;
    qint64 conversations = 0;
};

std::span<const TableColumn<MessageRecord>> messageColumns();
std::span<const TableColumn<AttachmentRow>> attachmentColumns();
std::span<const TableColumn<PersonRow>> personColumns();

/// The attachments of the message and of its reactions.
QList<RecordAttachment> allAttachments(const MessageRecord &record);
