#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QVariantMap>

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

/// A stretch of the text of the stream's root object, an attributed string.
struct TypedStreamRun {
    qsizetype at = 0; ///< in UTF-16 units of the text; may lie outside of it
    qsizetype length = 0;
    int number = 0;         ///< of the attributes: runs of one number have the same
    QVariantMap attributes; ///< texts, addresses as text, numbers as double, data, dictionaries
};

/// The runs of the text. A stream that is damaged gives what stands before the damage. Never throws.
QList<TypedStreamRun> runsOfTypedStream(QByteArrayView stream);

/// A character of the text that stands for an attachment.
struct TypedStreamAttachment {
    qsizetype at = 0; ///< in UTF-16 units of the text
    QString guid;
    bool isInline = false; ///< it stands within a line, like an emoji
};

/// The runs that stand for attachments, in the order of the text.
QList<TypedStreamAttachment> attachmentsOfTypedStream(QByteArrayView stream);
