#pragma once

#include "store/records/messagerecords.h"

class AbsIOSMessageDb;
class MessagePane;
class QWidget;
class SourcePane;

/// Looks for deleted messages in the phone on view, then shows it anew with those found and says how many
/// there are. Does nothing without a phone. Throws what the reader throws.
void recoverDeletedMessages(SourcePane &sources, MessagePane &messages, QWidget *window);

/// Looks for deleted messages under a progress dialog. False when that failed or was cancelled, which the
/// person then knows.
bool lookForDeleted(AbsIOSMessageDb &db, QWidget *window);

/// Says how many of the messages in `store` were deleted ones.
void sayRecovered(const _MsgStore &store);
