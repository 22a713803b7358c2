#include "ui/flows/shownsource.h"

#include "store/records/messagestore.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

_AbsDBItemNode *sourceOnView(const SourcePane &sources, const MessagePane &messages)
{
    return sources.sourceOf(messages.onView().store);
}

_MsgStorePtr showAnew(_AbsDBItemNode *source, SourcePane &sources, MessagePane &messages)
{
    messages.clearMessageViews();
    sources.unload(source);
    if (!sources.load(source))
        return nullptr;
    const QString title = source->text;
    sources.select(source); // which says nothing where it was selected before
    const _MsgStorePtr store = source->store;
    if (messages.onView().store != store)
        messages.showMessages({allMessages(store), store}, title);
    return store;
}
