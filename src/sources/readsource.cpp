#include "sources/readsource.h"

#include "recovery/exact/recoverexactly.h"
#include "store/readers/absmessagedb.h"

#include <algorithm>

using namespace Qt::StringLiterals;

_MsgStorePtr readSource(AbsIOSMessageDb &db, Recovered recovered)
{
    _MsgStorePtr store = _MsgStorePtr::create();
    db.messages(store, 0); // which reads the chats too
    db.attachments(store);
    if (recovered == Recovered::Shown)
        loadRecovered(db, *store);
    return store;
}

bool hasOwnGuid(AbsIOSMessageDb &db, const _MsgMessage &message)
{
    return db.asIos6() || message.service != "SMS"_L1;
}

qsizetype countRecovered(const _MsgStore &store)
{
    return std::count_if(store.messages.cbegin(), store.messages.cend(),
                         [](const _MsgMessage *message) { return message->isRecovered; });
}
