#pragma once

#include <QString>

class BackupManifest;
class ManifestList;

/// Builds the file tree and the collections of `manifest`, which has none yet, out of the records of `list`.
void buildManifestTree(BackupManifest &manifest, ManifestList &list);

/// The same out of `content`, the bytes of the "Manifest.mbdb" at `path`. The tree points into `content`.
/// Throws as `forEachRecord` does, and then adds nothing.
void buildManifestTree(BackupManifest &manifest, const QByteArray &content, const QString &path);
