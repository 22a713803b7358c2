#pragma once

#include <QDir>

enum class Attachments;
class BackupManifest;
struct _ManifestNode;

/// Bytes that copying `folder` of a backup into `cacheDir` takes: of the files that are in the backup and
/// not in the cache yet, without what stays in the backup. Deciphering makes no file longer.
qint64 bytesToCache(const BackupManifest &manifest, const _ManifestNode &folder, const QDir &cacheDir,
                    Attachments attachments);
