#pragma once

#include "store/records/messagerecords.h"

#include <vector>

/// Gathers which message stands in which chat, and enters them chat by chat at the end: filling a
/// million entries of many tables in the order of a file would leave the processor waiting for memory.
/// Chats whose newest date isn't known get that of their messages on request.
class ChatLinks
{
public:
    ChatLinks() = default;
    ChatLinks(const ChatLinks &) = delete;
    ChatLinks &operator=(const ChatLinks &) = delete;
    /// Enters what is left: also where reading broke off, what was read stands in its chats.
    ~ChatLinks() { enterAll(); }

    void enterAll();
    void add(_MsgChat &chat, _MsgMessage &message)
    {
        links[&chat].messages.push_back({message.rowid, &message});
    }
    /// The same, and the date counts. Of deleted messages it does so only where all are.
    void addDated(_MsgChat &chat, _MsgMessage &message, bool isDeleted);

private:
    struct Link {
        qint64 rowid; // to leave the record alone at the end
        _MsgMessage *message;
    };

    struct Links {
        std::vector<Link> messages;
        int newest = 0; // date
        int newestDeleted = 0;
    };

    QHash<_MsgChat *, Links> links;
};
