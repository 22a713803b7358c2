#include "store/records/chatlinks.h"

#include <algorithm>

void ChatLinks::addDated(_MsgChat &chat, _MsgMessage &message, bool isDeleted)
{
    Links &ofChat = links[&chat];
    ofChat.messages.push_back({message.rowid, &message});
    int &newest = isDeleted ? ofChat.newestDeleted : ofChat.newest;
    newest = std::max(newest, message.date);
}

void ChatLinks::enterAll()
{
    for (auto it = links.cbegin(); it != links.cend(); ++it) {
        QHash<QString, _MsgMessage *> &messages = it.key()->messages;
        messages.reserve(std::max(messages.size(), qsizetype(it->messages.size())));
        for (const Link &link : it->messages)
            messages.insert(QString::number(link.rowid), link.message);
        if (it.key()->_last == 0)
            it.key()->_last = it->newest != 0 ? it->newest : it->newestDeleted;
    }
    links.clear();
}
