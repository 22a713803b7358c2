#pragma once

#include "store/records/eventtext.h"
#include "store/records/messagerecords.h"

#include <QStringList>

struct MessageContent;

// The content of rich messages in words, for lists and for the formats that have nothing but text. Each line
// is one, whatever stands in the archives.

/// What a list shows of the message: the first line of `contentText`, where that needs no votes. Empty when
/// there is no content or it can't be read.
QString contentSummary(const _MsgMessage &message, DateForm dates = DateForm::Spelled);

/// All of it: what it is first, then options with their voters, answers, lines of a song.
QStringList contentText(const _MsgMessage &message, DateForm dates = DateForm::Spelled);
QStringList contentText(const MessageContent &content, DateForm dates = DateForm::Spelled);

/// What stands beside the text itself: transcripts of voice messages, translations.
QStringList spokenAndTranslated(const _MsgMessage &message);
