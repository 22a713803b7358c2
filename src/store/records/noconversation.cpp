#include "store/records/noconversation.h"

#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

#include <QObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 highestMadeUp = -2047483647; // made-up chats from here down can't go onto a phone

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

_MsgChat &noConversation(_MsgStore &store)
{
    if (_MsgChat *known = knownNoConversation(store))
        return *known;
    qint64 rowid = highestMadeUp;
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
    if (chat.rowid <= highestMadeUp && chat.messages.isEmpty())
        delete store.chats.take(chat.rowid);
}
