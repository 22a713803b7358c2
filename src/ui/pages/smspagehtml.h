#pragma once

#include "store/records/messagerecords.h"
#include "store/records/messagetext.h"

#include <QSet>
#include <QString>

/// Messages on one page of a conversation view.
constexpr int messagesPerPage = 50;

/// Number of pages that `messageCount` messages take.
int pagesFor(qsizetype messageCount);

/// The HTML of page `page` (from 1) of `messages`: each message a table behind an anchor "sms_" and its
/// rowid, with links to the pages before and after.
QString smsPageHtml(const QList<_MsgMessage *> &messages, int page, EmojiStyle emoji = EmojiStyle::Markers,
                    const QSet<qint64> &openHistories = {});
