#pragma once

#include "tools/samplephone/sampletouches.h"

/// A touch for the generations from `since` on.
struct SampleKind {
    IosVersion since;
    SampleTouch touch;
};

/// U+FFFC, which stands in a text for a file.
const QString &samplePlaceSign();

/// The message moves into the conversation of `target`, which it is to answer.
void sampleFollow(SampleMessage &message, const SampleMessage &target);

/// Changes a message that has a text and no attachments.
SampleTouch sampleWith(std::function<void(SampleMessage &)> change);

/// Balloons of apps, polls and votes.
QList<SampleKind> sampleBalloonKinds();
/// Pictures, a voice, files that never came.
QList<SampleKind> sampleAttachmentKinds();
