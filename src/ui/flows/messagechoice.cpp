#include "ui/flows/messagechoice.h"

#include "store/records/messagestore.h"
#include "ui/flows/shownsource.h"
#include "ui/flows/sourceloader.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

#include <stdexcept>

namespace
{

Scope dispatchedScope(const SourcePane &sources, const MessagePane &messages)
{
    if (messages.hasSelection())
        return Scope::Selected;
    return sources.currentConversation() ? Scope::Conversation : Scope::Source;
}

MessageChoice chooseSource(SourcePane &sources)
{
    _AbsDBItemNode *source = sources.currentSource();
    if (!source || !sources.load(source) || !isLoaded(*source))
        return {};
    return {{sortMessages(allMessages(source->store)), source->store}, source->text};
}

} // namespace

const _AbsDBItemNode &shownSource(const SourcePane &sources, const MessagePane &messages)
{
    const _AbsDBItemNode *source = sourceOnView(sources, messages);
    if (!source)
        throw std::runtime_error(QObject::tr("IDS_NOT_ON_VIEW").toStdString());
    return *source;
}

MessageChoice chooseMessages(Scope scope, SourcePane &sources, const MessagePane &messages)
{
    if (scope == Scope::Dispatched)
        scope = dispatchedScope(sources, messages);
    if (scope == Scope::Source)
        return chooseSource(sources);
    const QString name = shownSource(sources, messages).text;
    return {scope == Scope::Selected ? messages.selectedMessages() : messages.onView(), name};
}
