#pragma once

#include "store/records/messagerecords.h"

#include <QString>

/// How dates stand within what the program says.
enum class DateForm {
    Spelled,     ///< "08 Mar 2023 11:13 PM", as they always did in files of text
    SystemShort, ///< as the dates above the messages of a page
};

/// The local date that stands at the end of an event's sentence.
QString eventDate(int date, DateForm form = DateForm::Spelled);

/// The sentence of an event of a phone since iOS 10, told by `item_type` and `group_action_type`, with its
/// local date on a second line. A pair that isn't known gives a neutral one with both numbers.
QString newerEventSentence(const _MsgMessage &message, DateForm dates = DateForm::Spelled);
