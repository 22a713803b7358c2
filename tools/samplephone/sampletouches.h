#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerecords.h"

#include <functional>

/// Where the odd messages of a sample happen.
struct SampleScene {
    int groupChat = 0; ///< chat of events
    QString groupService;
    QStringList members;       ///< addresses in that chat, one at least
    int otherChat = 0;         ///< a second chat
    SampleMessage target = {}; ///< what reactions and replies answer; no guid before the first message
    SampleMessage poll = {};   ///< what votes answer, if there is one
};

/// Turns an ordinary message into an odd one.
using SampleTouch = std::function<void(SampleMessage &, const SampleScene &)>;

/// One touch for each kind of message that readers, texts and exports must stand: emoji of every range,
/// attachments of every kind, right-to-left, very long and empty texts, orphans, messages in two chats,
/// and, from iOS 7 on, events of every item_type;
/// from iOS 11 on, those of modernTouches().
QList<SampleTouch> sampleTouches(IosVersion version);

/// Where a phone of this generation keeps an attachment, as its database writes it.
QString sampleAttachmentName(IosVersion version, const QString &guid, const QString &fileName);
