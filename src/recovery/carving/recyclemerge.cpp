// How recovered messages join the chats of a source.

#include "recovery/carving/messagerecycledb.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"

#include <algorithm>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace
{

// Above it, numbers of the second kind would run into those of the first.
constexpr qint64 highestHandle = 99'999'999;

using ChatsByIdentifier = QHash<QString, _MsgChat *>;

bool isIMessage(const QString &service)
{
    return service == "iMessage"_L1;
}

/// Puts messages into the chats of one store.
class RecycleMerge
{
public:
    explicit RecycleMerge(_MsgStore &target) : store(target)
    {
        QList<_MsgChat *> chats = store.chats.values();
        std::sort(chats.begin(), chats.end(),
                  [](const _MsgChat *a, const _MsgChat *b) { return a->rowid < b->rowid; });
        for (_MsgChat *chat : std::as_const(chats))
            tableFor(chat->service_name).insert(chat->chat_identifier, chat);
    }

    void add(const _RecycleMessage &recycled)
    {
        if (store.messages.contains(recycled.message.rowid))
            return;
        auto *message = new _MsgMessage(recycled.message);
        store.messages.insert(message->rowid, message);
        message->src_rowid = -message->rowid;
        message->isRecovered = true;
        _MsgChat &chat = *chatOf(recycled);
        message->chat = &chat;
        chat._last = std::max(chat._last, message->date);
        message->handle = handleIn(chat, recycled.handle);
        chat.messages.insert(message->guid, message);
    }

private:
    ChatsByIdentifier &tableFor(const QString &service)
    {
        return isIMessage(service) ? iMessageChats : otherChats;
    }

    _MsgChat *chatOf(const _RecycleMessage &recycled)
    {
        const _MsgMessage &message = recycled.message;
        if (recycled.chat_identifier.isEmpty()) {
            const QString identifier = unknownAddress(message.handle_id);
            _MsgChat *&chat = otherChats[identifier];
            return chat ? chat : chat = makeChat(identifier, highestChatOffPhones, message, u"SMS"_s);
        }
        _MsgChat *&chat = tableFor(message.service)[recycled.chat_identifier];
        if (!chat)
            chat = makeChat(recycled.chat_identifier, highestMadeUpChat, message,
                            isIMessage(message.service) ? u"iMessage"_s : u"SMS"_s);
        return chat;
    }

    _MsgChat *makeChat(const QString &identifier, qint64 highestRowid, const _MsgMessage &message,
                       const QString &service)
    {
        auto *chat = new _MsgChat;
        chat->rowid = freeRowid(highestRowid - std::clamp<qint64>(message.handle_id, 0, highestHandle));
        chat->guid = u"%1;-;%2"_s.arg(service, identifier);
        chat->chat_identifier = identifier;
        chat->service_name = service;
        if (isIMessage(service)) {
            chat->account_id = isGuid(message.account_guid) ? message.account_guid
                                                            : messageGuidFromData(identifier.toUtf8());
            chat->account_login = message.account;
        }
        store.chats.insert(chat->rowid, chat);
        addHandle(*chat);
        return chat;
    }

    // Damaged rows name the same number for different people.
    qint64 freeRowid(qint64 wanted)
    {
        qint64 &next = nextFree.try_emplace(wanted, wanted).first->second;
        while (store.chats.contains(next) || store.handles.contains(next))
            --next;
        return next--;
    }

    void addHandle(_MsgChat &chat)
    {
        auto *handle = new _MsgHandle;
        handle->rowid = chat.rowid;
        handle->id = chat.chat_identifier;
        handle->service = chat.service_name;
        store.handles.insert(handle->rowid, handle);
        chat.handles.insert(QString::number(handle->rowid), handle);
    }

    static _MsgHandle *handleIn(const _MsgChat &chat, const QString &address)
    {
        if (chat.handles.size() == 1)
            return *chat.handles.cbegin();
        const auto found = std::find_if(chat.handles.cbegin(), chat.handles.cend(),
                                        [&](const _MsgHandle *handle) { return handle->id == address; });
        return found == chat.handles.cend() ? nullptr : *found;
    }

    _MsgStore &store;
    ChatsByIdentifier iMessageChats;
    ChatsByIdentifier otherChats;
    std::unordered_map<qint64, qint64> nextFree; // by the number wanted
};

} // namespace

void MessageRecycleDb::mergeInto(_MsgStore &store, const QList<_RecycleMessage> &messages)
{
    RecycleMerge merge(store);
    for (const _RecycleMessage &recycled : messages)
        merge.add(recycled);
}
