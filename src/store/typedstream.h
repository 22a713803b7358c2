#pragma once

#include <QByteArrayView>
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
