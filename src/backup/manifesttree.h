#pragma once

#include "mbdbrecord.h"

#include <QHash>

class BackupManifest;

/// Builds the file tree and the collections of `manifest`, which has none yet, out of `records`.
void buildManifestTree(BackupManifest &manifest, QHash<QString, _MbdbRecord> records);
