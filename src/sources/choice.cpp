#include "sources/choice.h"

#include "sources/choicefilter.h"
#include "store/records/messagestore.h"

#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

QList<_MsgSession> chosenSessions(const _MsgStorePtr &store, const QStringList &identifiers)
{
    QList<_MsgSession> chosen;
    if (identifiers.isEmpty())
        return chosen;
    for (const _MsgSession &session : groupChatSessions(store)) {
        if (identifiers.contains(session.chats.first()->chat_identifier))
            chosen.append(session);
    }
    return chosen;
}

QList<ListedMessage> listedMessages(const _MsgStorePtr &store, const Choice &choice, ListOrder order)
{
    const ChoiceFilter filter(store, choice);
    QList<_MsgMessage *> messages;
    QHash<const _MsgMessage *, QStringList> conversations;
    if (choice.chats.isEmpty()) {
        messages = allMessages(store);
    } else {
        for (const _MsgSession &session : chosenSessions(store, choice.chats)) {
            for (_MsgMessage *message : sessionMessages(session.chats)) {
                QStringList &listings = conversations[message];
                if (listings.isEmpty())
                    messages.append(message);
                if (!listings.contains(session.chats.first()->chat_identifier))
                    listings.append(session.chats.first()->chat_identifier);
            }
        }
    }
    messages.removeIf([&](const _MsgMessage *message) { return !filter.accepts(*message); });
    messages = sortMessages(messages);
    if (order == ListOrder::NewestFirst)
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

QList<_MsgMessage *> chosenMessages(const _MsgStorePtr &store, const Choice &choice, ListOrder order)
{
    QList<_MsgMessage *> messages;
    const _MsgMessage *last = nullptr;
    for (const ListedMessage &listed : listedMessages(store, choice, order)) {
        // The listings of one message stand side by side.
        if (listed.message != last)
            messages.append(listed.message);
        last = listed.message;
    }
    return messages;
}
