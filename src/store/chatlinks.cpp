#include "chatlinks.h"

#include <algorithm>

void ChatLinks::enterAll()
{
    for (auto it = links.cbegin(); it != links.cend(); ++it) {
        QHash<QString, _MsgMessage *> &messages = it.key()->messages;
        messages.reserve(std::max(messages.size(), qsizetype(it->size())));
        for (const Link &link : *it)
            messages.insert(QString::number(link.rowid), link.message);
    }
    links.clear();
}
