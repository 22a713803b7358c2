#pragma once

#include "messagemerge.h"

#include <memory>

class BackupManifest;
class JobProgress;

// The way of messages into a backup folder, in the steps that window and companion take.

/// Gets a backup ready to be written to: finishes a change that was interrupted, reads what the backup is
/// and lists its files. Throws `std::runtime_error` with a sentence for people when it can't be written
/// to: it is encrypted, of a newer phone, or none.
void openForMessages(BackupManifest &manifest);

/// Whether the copy of the message database in the cache is the one that the backup holds. Take the whole
/// cache folder away and fill it again if it isn't.
bool isCacheCurrent(const BackupManifest &manifest);

/// The phone's message database in the cache. Throws `std::runtime_error` when it is that of iOS 5.
std::unique_ptr<IOS6MessageDb> cachedPhone(const BackupManifest &manifest);

/// All of it: brings the phone's database into the cache and writes `messages` into the backup of an
/// opened `manifest`. Throws `std::runtime_error`, and the integer -1 when cancelled; the backup is then as
/// it was.
MergeCounts mergeIntoBackup(const QList<_MsgMessage *> &messages, const BackupManifest &manifest,
                            JobProgress &progress);
