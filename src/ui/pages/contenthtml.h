#pragma once

#include "store/records/messagetext.h"

#include <QString>

/// The card of a rich message: its drawing or picture, what it is, then what belongs to it; of a poll its
/// options with bars and voters. Empty where there is none or it can't be read.
QString contentCard(const _MsgMessage &message, EmojiStyle emoji);
