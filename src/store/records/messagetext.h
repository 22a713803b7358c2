#pragma once

#include "store/records/eventtext.h"
#include "store/records/messagerecords.h"

#include <QByteArray>
#include <QList>
#include <QString>

// What people read of a message. Views and exports all take their words from here.

/// Where an attachment stands in the text of a message.
inline constexpr QChar attachmentSign(0xFFFC);

/// How emoji stand in texts that people see.
enum class EmojiStyle {
    Markers,    ///< "[EMOJI]" for each
    Characters, ///< as they are
};

/// The contact's name, with "(address)" behind it on request; the address where there is no contact.
QString displayName(const _MsgHandle &handle, bool withAddress);

/// The name of the group or those who take part, by rowid, joined by ", "; "Unknown" without either.
QString chatTitle(const _MsgChat &chat, bool withAddress);

/// The "who" of a message in lists: the title of its chat, in groups with the sender in brackets.
QString senderLabel(const _MsgMessage &message);

/// `text` without the U+FFFC that stand for attachments.
QString plainText(const _MsgMessage &message);

/// The subject on a line of its own where there is one, then the text with a marker for each attachment, or
/// its parts, one a line, where their order is known; or the sentence of an event with its local date. Where
/// a newer phone keeps no text, words stand in its place.
QString displayText(const _MsgMessage &message, DateForm dates = DateForm::Spelled);

/// `displayText` with emoji as asked for: what views and exports show.
QString renderText(const _MsgMessage &message, EmojiStyle emoji = EmojiStyle::Markers,
                   DateForm dates = DateForm::Spelled);
/// `text` with emoji as asked for.
QString withEmoji(const QString &text, EmojiStyle emoji);

/// What exports show: `renderText`, then on a line of its own in square brackets each of `linesUnder`.
QString fullText(const _MsgMessage &message, EmojiStyle emoji = EmojiStyle::Markers);

/// Returns what stands in the place of an emoji. `codePoint` is upper-case hexadecimal.
using EmojiText = QString (*)(void *userData, const QString &codePoint);

/// `text` with each emoji replaced by what `replacement` answers: first the private-use characters of
/// old phones and single symbols, then U+1F000 to U+1F7FF. A high surrogate of that range swallows the
/// unit behind it even when that is no low surrogate; at the end of the text it stays.
QString replaceEmoji(const QString &text, EmojiText replacement, void *userData);

/// The same 32 hex digits for two copies of one message, whatever source, rowid, guid or service they
/// have: made of sender, date, direction, text and names of attachments; of the guid alone for events.
QString logicHash(const _MsgMessage &message);

/// Those who take part, by rowid.
QList<_MsgHandle *> sortedHandles(const _MsgChat &chat);

/// The attachments by rowid.
QList<_MsgAttachment *> sortedAttachments(const _MsgMessage &message);
QList<_MsgAttachment *> sortedAttachments(const QHash<QString, _MsgAttachment *> &attachments);

/// The `attributedBody` of a message that is one attachment and nothing else: a typed stream with a
/// string of one U+FFFC that carries the attachment's guid. `guid` must have 36 bytes in UTF-8.
QByteArray attachmentBody(const QString &guid);
