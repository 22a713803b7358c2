#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerecords.h"

#include <functional>

/// Where a message of a special kind happens.
struct SampleScene {
    IosVersion version = IosVersion::Ios6;
    int number = 0; ///< of the message
    int groupChat = 0;
    QString groupService;
    QStringList members = {};  ///< addresses in the group, one at least
    int otherChat = 0;         ///< a second chat
    SampleMessage target = {}; ///< what reactions and replies answer; no guid before the first message
    SampleMessage poll = {};   ///< what votes answer, if there is one
};

/// Turns an ordinary message into one of a special kind.
using SampleTouch = std::function<void(SampleMessage &, const SampleScene &)>;

struct SampleKind {
    IosVersion since;
    SampleTouch touch;
    int oneIn = 0; ///< becomes of one ordinary message in so many, too; 0: comes once
};

/// Each kind of message that readers, texts and exports must stand in phones of this generation: emoji of
/// every range, attachments, right-to-left, very long and empty texts, orphans, messages in two chats,
/// events of every item_type, and, from iOS 11 on, reactions, replies, edits, balloons and odd bodies.
QList<SampleKind> sampleKinds(IosVersion version);

/// Those of iOS 11 and later.
QList<SampleKind> modernSampleKinds();

/// The message says `text` and carries files of these names, whose place in the text U+FFFC marks.
SampleTouch sampleCarrying(const QString &text, const QStringList &fileNames);

/// A file where a phone of this generation keeps it, with the types that belong to its name.
SampleAttachment sampleAttachment(IosVersion version, const QString &guid, const QString &fileName);
