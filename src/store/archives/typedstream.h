#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

/// What a typed stream (the serialisation of NSArchiver) says.
struct TypedStreamText {
    QString text;
    bool isCut = false; ///< the stream ends before the text does; `text` is what is there
};

/// The first string of the stream's root object, an attributed or a plain string: the text of a message.
/// Attributes behind it are not looked at. Nothing when the bytes are no such stream, or end before the
/// text begins. Never throws, whatever the bytes.
std::optional<TypedStreamText> textOfTypedStream(QByteArrayView stream);

/// A character of the text that stands for an attachment.
struct TypedStreamAttachment {
    qsizetype at = 0; ///< in UTF-16 units of the text
    QString guid;
    bool isInline = false; ///< it stands within a line, like an emoji
};

/// What the attributes of the stream's root object, an attributed string, say of attachments, in the order of
/// the text. A stream that is damaged gives what stands before the damage. Never throws.
QList<TypedStreamAttachment> attachmentsOfTypedStream(QByteArrayView stream);
