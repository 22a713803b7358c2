#pragma once

#include <QString>

struct _ManifestNode;

/// Whether `name`, in any letter case, is one of the databases that are read out of the cache.
bool isReadDatabase(const QString &name);
/// Whether `name`, in any letter case, is a companion of such a database.
bool isReadCompanion(const QString &name);

/// Whether `name` is either of them.
bool isReadFile(const QString &name);

/// Name under which `node`, right below the message or address book folder, is kept: its own, or, for
/// what is opened by a fixed name, that name in its proper case. A sibling that has the proper case
/// already keeps it for itself.
QString cacheFileName(const _ManifestNode &node);
