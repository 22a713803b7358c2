#pragma once

#include "backup/manifestlist.h"
#include "backup/textarena.h"

#include <QString>

/// Whether the backup in `folder` has the list of files that phones make since iOS 10, a database.
bool hasManifestDb(const QString &folder);

/// Whether it has one that isn't enciphered.
bool hasPlainManifestDb(const QString &folder);
/// Whether the file at `path` begins as a database does. Throws `std::runtime_error` when it can't be read.
bool isDatabase(const QString &path);

/// Adds the rows of the table "Files" of the database at `path` to `list`. Their strings are kept in
/// `texts`. Rows without a path, and those whose path no phone could have, are left out and counted in
/// the log. Throws `std::runtime_error` when the file is no such database or damaged. Neither it nor its
/// folder is changed.
void readManifestDb(const QString &path, ManifestList &list, TextArena &texts);
