#include "cli/messageselection.h"

#include "cli/commandline.h"
#include "cli/source.h"
#include "store/records/messagestore.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// The conversations asked for, or all of them.
QList<_MsgSession> chosenSessions(const Source &source, const QStringList &identifiers)
{
    QList<_MsgSession> sessions = groupChatSessions(source.store);
    if (identifiers.isEmpty())
        return sessions;
    QSet<QString> missing(identifiers.begin(), identifiers.end());
    QList<_MsgSession> chosen;
    for (const _MsgSession &session : std::as_const(sessions)) {
        const QString identifier = session.chats.first()->chat_identifier;
        missing.remove(identifier);
        if (identifiers.contains(identifier))
            chosen.append(session);
    }
    for (const QString &identifier : identifiers) {
        if (missing.contains(identifier))
            throw std::runtime_error(
                u"The source has no conversation \"%1\"; the command chats lists them."_s.arg(identifier)
                    .toStdString());
    }
    return chosen;
}

} // namespace

QList<ListedMessage> listedMessages(const Source &source, const CommandLine &line)
{
    QList<_MsgMessage *> messages;
    QHash<const _MsgMessage *, QStringList> conversations;
    if (line.chats.isEmpty()) {
        messages = allMessages(source.store);
    } else {
        for (const _MsgSession &session : chosenSessions(source, line.chats)) {
            for (_MsgMessage *message : sessionMessages(session.chats)) {
                QStringList &known = conversations[message];
                if (known.isEmpty())
                    messages.append(message);
                if (!known.contains(session.chats.first()->chat_identifier))
                    known.append(session.chats.first()->chat_identifier);
            }
        }
    }
    messages = sortMessages(messages);
    if (line.newestFirst)
        std::reverse(messages.begin(), messages.end());

    QList<ListedMessage> listed;
    listed.reserve(messages.size());
    for (_MsgMessage *message : std::as_const(messages)) {
        const QString own = message->chat ? message->chat->chat_identifier : QString();
        for (const QString &conversation : conversations.value(message, {own}))
            listed.append({message, conversation});
    }
    return listed;
}

QList<_MsgMessage *> chosenMessages(const Source &source, const CommandLine &line)
{
    QList<_MsgMessage *> messages;
    const _MsgMessage *last = nullptr;
    for (const ListedMessage &listed : listedMessages(source, line)) {
        // The listings of one message stand side by side.
        if (listed.message != last)
            messages.append(listed.message);
        last = listed.message;
    }
    return messages;
}
