#pragma once

#include <QDir>

class BackupManifest;
struct _ManifestNode;

/// Bytes that copying `folder` of a backup into `cacheDir` takes: of the files that are in the backup and
/// not in the cache yet. Deciphering makes no file longer.
qint64 bytesToCache(const BackupManifest &manifest, const _ManifestNode &folder, const QDir &cacheDir);
