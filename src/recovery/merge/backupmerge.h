#pragma once

#include "recovery/merge/messagemerge.h"

#include <memory>

class BackupManifest;
class JobProgress;

// The way of messages into a backup folder, in the steps that window and companion take.

/// Gets a backup ready to be written to: finishes a change that was interrupted, reads what the backup is
/// and lists its files. Throws `std::runtime_error` with a sentence for people when it can't be written
/// to: it is encrypted, of a newer phone, or none.
void openForMerge(BackupManifest &manifest);

/// Brings the phone's files into the cache, as `extractMessages` does, and makes sure that the message
/// database there is the one that the backup holds: a cache goes by dates, and those may deceive.
void extractForMerge(const BackupManifest &manifest, JobProgress &progress);

/// What keeps the message database `path` of a phone from being written to, as a text to show; empty when
/// nothing does. Throws `std::runtime_error` when it is missing or no database.
QString writeError(const QString &path);

/// The phone's message database in the cache. Throws `std::runtime_error` when it is that of iOS 5.
std::unique_ptr<IOS6MessageDb> cachedPhone(const BackupManifest &manifest);

/// The last steps in one: caches the phone's files and writes `messages` into the backup of an
/// opened `manifest`. Throws `std::runtime_error`, and the integer -1 when cancelled; the backup is then as
/// it was.
MergeCounts mergeIntoBackup(const QList<_MsgMessage *> &messages, const BackupManifest &manifest,
                            JobProgress &progress);
