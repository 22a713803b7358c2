#pragma once

#include "ui/models/messagelist.h"

#include <QString>

class MessagePane;
class SourcePane;
struct _AbsDBItemNode;

// What an action is about: which messages, and of which source. All throw `std::runtime_error`.

/// What an action works on. Without a store when there is nothing to work on.
struct MessageChoice : MessageList {
    QString sourceName; ///< of the source that they come from
};

enum class Scope {
    Dispatched,   ///< the rows selected, else what is selected in the tree
    Selected,     ///< the rows selected
    Conversation, ///< what is on view
    Source,       ///< all of the source that is selected in the tree, which is read for it
};

/// The source whose messages are on view. Throws when none are.
const _AbsDBItemNode &shownSource(const SourcePane &sources, const MessagePane &messages);

/// Throws as `shownSource` does, unless it is about a whole source, and what reading that throws.
MessageChoice chooseMessages(Scope scope, SourcePane &sources, const MessagePane &messages);
