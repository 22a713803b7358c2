#include "export/exportconversation.h"

#include "app/filetools.h"
#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// File systems take 255 bytes; this leaves room for a number, the suffix and the name while it is written.
constexpr int maxNameBytes = 200;

/// A conversation while its messages come in.
struct Collected {
    const _MsgChat *chat = nullptr; ///< the one with the lowest rowid
    QList<_MsgMessage *> messages;
};

QList<Collected> collectByIdentifier(const QList<_MsgMessage *> &messages)
{
    QList<Collected> conversations;
    QHash<QString, qsizetype> places;
    for (_MsgMessage *message : messages) {
        const _MsgChat *chat = message->chat;
        const QString key = chat ? QString(u'=' + chat->chat_identifier.toCaseFolded()) : QString();
        auto place = places.constFind(key);
        if (place == places.cend()) {
            place = places.insert(key, conversations.size());
            conversations.append(Collected{chat, {}});
        }
        Collected &conversation = conversations[*place];
        if (chat && chat->rowid < conversation.chat->rowid)
            conversation.chat = chat;
        conversation.messages.append(message);
    }
    return conversations;
}

bool standsBefore(const Collected &a, const Collected &b)
{
    const qint64 rowA = a.chat ? a.chat->rowid : 0;
    const qint64 rowB = b.chat ? b.chat->rowid : 0;
    if (rowA != rowB || !a.chat || !b.chat)
        return rowA != rowB ? rowA < rowB : b.chat != nullptr;
    return a.chat->chat_identifier < b.chat->chat_identifier;
}

QList<_MsgMessage *> inOrder(const QList<_MsgMessage *> &messages, bool ascending)
{
    QList<_MsgMessage *> sorted = sortMessages(messages);
    if (!ascending)
        std::reverse(sorted.begin(), sorted.end());
    return sorted;
}

QString withoutUnprintable(QString name)
{
    // A UTF-8 round trip turns halves of surrogate pairs into characters that can be told apart.
    name = QString::fromUtf8(name.toUtf8());
    return name.removeIf(
        [](QChar c) { return c.category() == QChar::Other_Control || c == QChar::ReplacementCharacter; });
}

QString cutToBytes(const QString &name, int maxBytes)
{
    int bytes = 0;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char16_t unit = name.at(i).unicode();
        const bool isPair = name.at(i).isHighSurrogate();
        bytes += isPair ? 4 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        if (bytes > maxBytes)
            return name.left(i).trimmed();
        i += isPair ? 1 : 0;
    }
    return name;
}

} // namespace

QList<ExportConversation> exportConversations(const QList<_MsgMessage *> &messages, bool ascending)
{
    QList<Collected> collected = collectByIdentifier(messages);
    std::stable_sort(collected.begin(), collected.end(), standsBefore);
    QList<ExportConversation> conversations;
    conversations.reserve(collected.size());
    for (const Collected &conversation : std::as_const(collected))
        conversations.append(
            {conversationFileName(conversation.chat), inOrder(conversation.messages, ascending)});
    return conversations;
}

QString conversationFileName(const _MsgChat *chat)
{
    if (!chat)
        return u"unknown-chat"_s;
    const bool byIdentifier = isGroup(*chat) && !chat->chat_identifier.isEmpty();
    return legalFileName(byIdentifier ? chat->chat_identifier : chatTitle(*chat, true));
}

QString legalFileName(const QString &title)
{
    // Names that mean devices on Windows, whatever follows their first dot.
    static const QRegularExpression device(u"^(CON|PRN|AUX|NUL|(COM|LPT)[0-9¹²³])\\s*(\\.|$)"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    // A leading dot would hide the file.
    static const QRegularExpression leadingDots(u"^[.\\s]+"_s);
    QString name = safeFileName(withoutUnprintable(title)).remove(leadingDots);
    name = cutToBytes(name, maxNameBytes);
    if (name.contains(device))
        name.prepend(u'_');
    return name.isEmpty() ? u"Unknown"_s : name;
}
