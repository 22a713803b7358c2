#pragma once

#include "recovery/merge/messagemerge.h"

#include <QDir>
#include <QList>

class JobProgress;

/// Writes messages into an unencrypted backup of iOS 6 to 9: a new message database with the phone's own
/// messages and these, their attachment files, and a manifest that lists both. Everything is prepared before
/// the first file of the backup is moved; what is replaced stays in the folder under its name, "-" and the
/// time. `source` is the copy of the phone's database that was taken out of this backup; it is closed.
///
/// Throws `std::runtime_error`, and the integer -1 when cancelled; the backup is then as it was.
MergeCounts mergeMessages(const QList<_MsgMessage *> &messages, IOS6MessageDb &source, const QDir &backupDir,
                          JobProgress &progress);
