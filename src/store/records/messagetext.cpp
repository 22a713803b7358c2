#include "store/records/messagetext.h"

#include "store/records/contenttext.h"
#include "store/records/eventtext.h"
#include "store/records/extrastext.h"
#include "store/records/messageparts.h"
#include "store/records/messagestore.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

// Single characters that count as emoji, ascending.
constexpr std::array<char16_t, 43> symbols = {
    0x203C, 0x2049, 0x2139, 0x2194, 0x2195, 0x21A9, 0x21AA, 0x231A, 0x231B, 0x23EB, 0x23EC,
    0x23F0, 0x23F3, 0x24C2, 0x25AA, 0x25AB, 0x25FB, 0x25FC, 0x25FD, 0x25FE, 0x2611, 0x267B,
    0x2693, 0x26AA, 0x26AB, 0x26C5, 0x26D4, 0x2705, 0x2709, 0x270F, 0x2712, 0x2714, 0x2744,
    0x2747, 0x274E, 0x2795, 0x2796, 0x2797, 0x27B0, 0x2934, 0x2935, 0x2B1B, 0x2B1C};

constexpr bool isSingleEmoji(char16_t unit)
{
    if (unit < symbols.front())
        return false;
    return (unit >= 0xE000 && unit <= 0xE537) || unit == 0x3030 ||
           std::binary_search(symbols.begin(), symbols.end(), unit);
}

constexpr bool isEmojiSurrogate(char16_t unit)
{
    return unit == 0xD83C || unit == 0xD83D;
}

bool mayHoldEmoji(QStringView text)
{
    return std::any_of(text.utf16(), text.utf16() + text.size(),
                       [](char16_t unit) { return unit >= symbols.front(); });
}

QString hex(char32_t codePoint)
{
    return QString::number(uint(codePoint), 16).toUpper();
}

QString replaceSingles(const QString &text, EmojiText replacement, void *userData)
{
    QString result;
    result.reserve(text.size());
    for (const QChar unit : text) {
        if (isSingleEmoji(unit.unicode()))
            result += replacement(userData, hex(unit.unicode()));
        else
            result += unit;
    }
    return result;
}

QString replacePairs(const QString &text, EmojiText replacement, void *userData)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (isEmojiSurrogate(unit.unicode()) && i + 1 < text.size())
            result += replacement(userData, hex(QChar::surrogateToUcs4(unit, text.at(++i))));
        else
            result += unit;
    }
    return result;
}

QString emojiMarker(void *, const QString &)
{
    return u"[EMOJI]"_s;
}

QString attachmentMarker(const _MsgAttachment &attachment)
{
    const QString &mimeType = attachment.mime_type;
    if (mimeType.isEmpty() && attachment.uti == "com.apple.coreaudio-format"_L1) // of a voice message
        return u" [AUDIO]"_s;
    if (mimeType.startsWith("image/"_L1, Qt::CaseInsensitive))
        return u" [IMAGE]"_s;
    if (mimeType.startsWith("video/"_L1, Qt::CaseInsensitive))
        return u" [VIDEO]"_s;
    if (mimeType.startsWith("audio/"_L1, Qt::CaseInsensitive))
        return u" [AUDIO]"_s;
    if (mimeType.compare("text/x-vcard"_L1, Qt::CaseInsensitive) == 0 ||
        mimeType.compare("text/vcard"_L1, Qt::CaseInsensitive) == 0)
        return u" [VCARD]"_s;
    return u" [ATTA]"_s;
}

QString orderedText(const _MsgMessage &message)
{
    QString text;
    bool isInLine = true;
    for (const MessagePart &part : messageParts(message)) {
        if (!text.isEmpty())
            text += isInLine || part.isInline ? u' ' : u'\n';
        text += part.attachment ? attachmentMarker(*part.attachment).trimmed() : part.text;
        isInLine = part.isInline;
    }
    return text;
}

QString textWithMarkers(const _MsgMessage &message)
{
    if (hasPartOrder(message))
        return orderedText(message);
    QString text = plainText(message);
    if (!message.attachments.isEmpty()) {
        const QList<_MsgAttachment *> attachments = sortedAttachments(message);
        for (const _MsgAttachment *attachment : attachments)
            if (attachment->hide_attachment == 0)
                text += attachmentMarker(*attachment);
    }
    return text.trimmed();
}

QString withSubject(const _MsgMessage &message, const QString &text)
{
    const QString subject = message.subject.trimmed();
    if (subject.isEmpty() || text.isEmpty())
        return subject + text;
    return subject + u'\n' + text;
}

QString personInEvent(const _MsgHandle *handle)
{
    return handle ? displayName(*handle, false) : u"You"_s;
}

QString eventSentence(const _MsgMessage &message, DateForm dates)
{
    const QString date = eventDate(message.date, dates);
    const QString who = personInEvent(message.handle);
    switch (message.item_type) {
    case 1:
        return u"%1 Added %2 to the conversation.\n%3"_s.arg(who, personInEvent(message.otherHandle), date);
    case 2: return u"%1 named the conversation \"%2\".\n%3"_s.arg(who, message.group_title, date);
    case 3: return u"%1 left the conversation.\n%2"_s.arg(who, date);
    case 4:
        return u"%1 %2 sharing location with %3.\n%4"_s.arg(
            who, message.share_status != 0 ? u"stopped"_s : u"started"_s, personInEvent(message.otherHandle),
            date);
    default: return u"System Information.\n%1"_s.arg(date);
    }
}

QStringList sortedFileNames(const _MsgMessage &message)
{
    QStringList names;
    for (const _MsgAttachment *attachment : message.attachments) {
        if (!attachment->filename.isEmpty())
            names.append(QFileInfo(attachment->filename).fileName().toLower());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

QString displayName(const _MsgHandle &handle, bool withAddress)
{
    if (handle._ct_name.isEmpty())
        return handle.id;
    return withAddress ? u"%1 (%2)"_s.arg(handle._ct_name, handle.id) : handle._ct_name;
}

QString chatTitle(const _MsgChat &chat, bool withAddress)
{
    if (!chat.display_name.isEmpty())
        return chat.display_name;
    if (chat.handles.isEmpty())
        return u"Unknown"_s;
    QStringList names;
    const QList<_MsgHandle *> handles = sortedHandles(chat);
    for (const _MsgHandle *handle : handles)
        names.append(displayName(*handle, withAddress));
    return names.join(u", "_s);
}

QString senderLabel(const _MsgMessage &message)
{
    if (!message.chat)
        return u"unknown"_s;
    const QString title = chatTitle(*message.chat, true);
    if (!isGroup(*message.chat) || !message.handle)
        return title;
    return u"%1 (%2)"_s.arg(title, displayName(*message.handle, false));
}

QString plainText(const _MsgMessage &message)
{
    QString text = message.text;
    return text.remove(attachmentSign);
}

QString displayText(const _MsgMessage &message, DateForm dates)
{
    if (message.item_type == 0)
        return withSubject(message, shownText(message, textWithMarkers(message), dates));
    return message.extras && message.extras->hasNewerEvent ? newerEventSentence(message, dates)
                                                           : eventSentence(message, dates);
}

QString renderText(const _MsgMessage &message, EmojiStyle emoji, DateForm dates)
{
    return withEmoji(displayText(message, dates), emoji);
}

QString fullText(const _MsgMessage &message, EmojiStyle emoji)
{
    QString text = renderText(message, emoji);
    QStringList lines = linesUnder(message);
    if (isShownByContent(message) && !contentSummary(message).isEmpty()) {
        lines.prepend(text);
        text.clear();
    }
    for (const QString &line : std::as_const(lines)) {
        const QString words = u'[' + withEmoji(line, emoji) + u']';
        text += text.isEmpty() ? words : u'\n' + words;
    }
    return text;
}

QString withEmoji(const QString &text, EmojiStyle emoji)
{
    return emoji == EmojiStyle::Characters ? text : replaceEmoji(text, emojiMarker, nullptr);
}

QString replaceEmoji(const QString &text, EmojiText replacement, void *userData)
{
    if (!mayHoldEmoji(text))
        return text;
    return replacePairs(replaceSingles(text, replacement, userData), replacement, userData);
}

QString logicHash(const _MsgMessage &message)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (message.item_type != 0) {
        hash.addData(message.guid.toUtf8());
        return QString::fromLatin1(hash.result().toHex());
    }
    if (message.handle)
        hash.addData(message.handle->id.toUtf8());
    const qint32 date = qToLittleEndian(qint32(message.date));
    hash.addData(QByteArrayView(reinterpret_cast<const char *>(&date), sizeof date));
    const char direction = char(message.is_from_me);
    hash.addData(QByteArrayView(&direction, 1));
    hash.addData(plainText(message).toUtf8());
    const QStringList names = sortedFileNames(message);
    for (const QString &name : names)
        hash.addData(name.toUtf8());
    return QString::fromLatin1(hash.result().toHex());
}

QList<_MsgHandle *> sortedHandles(const _MsgChat &chat)
{
    QList<_MsgHandle *> handles = chat.handles.values();
    std::sort(handles.begin(), handles.end(), [](const _MsgHandle *a, const _MsgHandle *b) {
        return a->rowid != b->rowid ? a->rowid < b->rowid : a->id < b->id;
    });
    return handles;
}

QList<_MsgAttachment *> sortedAttachments(const _MsgMessage &message)
{
    return sortedAttachments(message.attachments);
}

QList<_MsgAttachment *> sortedAttachments(const QHash<QString, _MsgAttachment *> &attachments)
{
    QList<_MsgAttachment *> list = attachments.values();
    std::sort(list.begin(), list.end(), [](const _MsgAttachment *a, const _MsgAttachment *b) {
        return a->rowid != b->rowid ? a->rowid < b->rowid : a->guid < b->guid;
    });
    return list;
}

QByteArray attachmentBody(const QString &guid)
{
    // A stream of NSArchiver: an NSMutableAttributedString, up to the length of the guid (36) ...
    static const QByteArray before =
        "040B73747265616D747970656481E803840140848484194E534D757461626C6541747472696275746564537472696E670084"
        "84"
        "124E5341747472696275746564537472696E67008484084E534F626A6563740085928484840F4E534D757461626C65537472"
        "69"
        "6E67018484084E53537472696E67019584012B03EFBFBC86840269490101928484840C4E5344696374696F6E617279009584"
        "01"
        "690292849898225F5F6B494D46696C655472616E73666572475549444174747269627574654E616D6586928498982"
        "4";
    // ... and the number of the message's part behind it.
    static const QByteArray after = "86928498981D5F5F6B494D4D657373616765506172744174747269627574654E616D6586"
                                    "92848484084E534E756D6265720084"
                                    "84074E5356616C7565009584012A849B9B00868686";
    return QByteArray::fromHex(before + guid.toUtf8().toHex() + after);
}
