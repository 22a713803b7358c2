#pragma once

#include <QString>

#include <memory>

class AbsIOSMessageDb;
class BackupManifest;
template <class T>
class QSharedPointer;
class JobProgress;
struct FoundSource;

// From a source that was found to the reader of its messages. A backup takes three steps: `openBackup`
// unlocks it and lists its files, `extractMessages` brings its databases into the cache, and `openExtracted`
// opens them there.

/// Whether the table of countries has the mobile country code `mcc`. The empty one is unknown.
bool isKnownCountry(const QString &mcc);

/// Brings the message and address book databases of an opened backup into its cache, and attachments where it
/// is an older one. Throws as `extractMessages` does.
void extractMessages(const BackupManifest &manifest, JobProgress &progress);

/// The reader of what was extracted from a backup. The attachments that lie in the backup still are found
/// there, for as long as anybody holds the store: `manifest` and its keys live until then. An empty `country`
/// stands for the one that the backup tells. Throws `std::runtime_error` as `openMessageDb` does.
std::unique_ptr<AbsIOSMessageDb> openExtracted(const QSharedPointer<BackupManifest> &manifest,
                                               const QString &country);

/// The reader of a source that is no backup. Throws `std::runtime_error` as `openMessageDb` does.
std::unique_ptr<AbsIOSMessageDb> openInPlace(const FoundSource &source, const QString &country);
