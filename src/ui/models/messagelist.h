#pragma once

#include "store/records/messagerecords.h"

/// Messages and the store that owns them: whoever holds the list keeps the records alive.
struct MessageList {
    QList<_MsgMessage *> messages;
    _MsgStorePtr store; ///< of one source; null when there is none
};
