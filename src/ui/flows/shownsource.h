#pragma once

#include "store/records/messagerecords.h"

class MessagePane;
class SourcePane;
struct _AbsDBItemNode;

// What ties the messages on view to the tree of sources.

/// The source that the messages on view were read from. Null when none are, and when the source was read anew
/// or went since.
_AbsDBItemNode *sourceOnView(const SourcePane &sources, const MessagePane &messages);

/// Reads a source anew, selects it and puts it on view. What was read; null when the source went away
/// meanwhile. Throws what the reader throws; nothing is then on view.
_MsgStorePtr showAnew(_AbsDBItemNode *source, SourcePane &sources, MessagePane &messages);
