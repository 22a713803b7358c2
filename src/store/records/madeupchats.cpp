#include "store/records/madeupchats.h"

#include "store/records/messagerecords.h"

#include <QObject>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto noConversationIdentifier = "no-conversation"_L1;
constexpr auto unknownPrefix = "unknown"_L1;

_MsgChat *knownNoConversation(const _MsgStore &store)
{
    _MsgChat *known = nullptr;
    for (_MsgChat *chat : store.chats) {
        if (isNoConversation(*chat) && (!known || chat->rowid < known->rowid))
            known = chat;
    }
    return known;
}

} // namespace

bool isKeptOffPhones(const _MsgChat &chat)
{
    return chat.rowid <= highestChatOffPhones;
}

bool isNoConversation(const _MsgChat &chat)
{
    return chat.chat_identifier == noConversationIdentifier;
}

bool isOfUnknownAddress(const _MsgChat &chat)
{
    static const QRegularExpression pattern("^SMS;-;"_L1 + unknownPrefix + "-?[0-9]+\\z"_L1);
    return pattern.match(chat.guid).hasMatch();
}

QString isNoConversationSql()
{
    return u"chat_identifier = '%1'"_s.arg(noConversationIdentifier);
}

QString isOfUnknownAddressSql()
{
    return u"(guid glob 'SMS;-;%1[0-9]*' or guid glob 'SMS;-;%1-[0-9]*')"_s.arg(unknownPrefix);
}

QString unknownAddress(qint64 handle_id)
{
    return unknownPrefix + QString::number(handle_id);
}

_MsgChat &noConversation(_MsgStore &store)
{
    if (_MsgChat *known = knownNoConversation(store))
        return *known;
    qint64 rowid = highestChatOffPhones;
    while (store.chats.contains(rowid))
        --rowid;
    auto *chat = new _MsgChat;
    chat->rowid = rowid;
    chat->guid = u"any;-;"_s + noConversationIdentifier;
    chat->chat_identifier = noConversationIdentifier;
    chat->service_name.clear();
    chat->display_name = QObject::tr("IDS_NO_CONVERSATION");
    store.chats.insert(rowid, chat);
    return *chat;
}

void dropUnused(_MsgStore &store, const _MsgChat &chat)
{
    if (isKeptOffPhones(chat) && chat.messages.isEmpty())
        delete store.chats.take(chat.rowid);
}
