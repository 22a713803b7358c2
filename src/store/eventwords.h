#pragma once

#include "messagerecords.h"

#include <QString>

/// The local date that stands at the end of an event's sentence.
QString eventDate(int date);

/// The sentence of an event of a phone since iOS 10, told by `item_type` and `group_action_type`, with its
/// local date on a second line. A pair that isn't known gives a neutral one with both numbers.
QString newerEventSentence(const _MsgMessage &message);
