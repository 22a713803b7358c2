#pragma once

#include <QString>

class BackupManifest;

/// Builds the file tree and the collections of `manifest`, which has none yet, out of `content`, the bytes
/// of the "Manifest.mbdb" at `path`. The tree points into `content`. Throws as `forEachRecord` does, and
/// then adds nothing.
void buildManifestTree(BackupManifest &manifest, const QByteArray &content, const QString &path);
