#pragma once

#include "messagerecords.h"

#include <vector>

/// Gathers which message stands in which chat, and enters them chat by chat at the end: filling a
/// million entries of many tables in the order of a file would leave the processor waiting for memory.
class ChatLinks
{
public:
    ChatLinks() = default;
    ChatLinks(const ChatLinks &) = delete;
    ChatLinks &operator=(const ChatLinks &) = delete;
    /// Enters what is left: also where reading broke off, what was read stands in its chats.
    ~ChatLinks() { enterAll(); }

    void enterAll();
    void add(_MsgChat &chat, _MsgMessage &message) { links[&chat].push_back({message.rowid, &message}); }

private:
    struct Link {
        qint64 rowid; // to leave the record alone at the end
        _MsgMessage *message;
    };

    QHash<_MsgChat *, std::vector<Link>> links;
};
