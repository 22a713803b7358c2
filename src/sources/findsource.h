#pragma once

#include "recovery/local/localdatabases.h"

#include <QDir>
#include <QSharedPointer>

class BackupManifest;

// Where sources of messages lie, by what a person names.

enum class SourceKind {
    Backup,       ///< a backup folder, perhaps one that lacks something
    PhoneFolder,  ///< a folder that holds the phone's own tree
    LocalDatabase ///< one of the program's own
};

/// What the name of a source stands for.
struct FoundSource {
    SourceKind kind;
    QDir folder;            ///< of the backup or of the phone's tree
    LocalDatabase database; ///< of a Local Database
};

/// `name` is a path or the name of a Local Database. Opens nothing. Throws `std::runtime_error` that says
/// what was tried when it is none of them.
FoundSource findSource(const QString &name);

/// The backups below `root`, or in the default places where that is empty, described and sorted as
/// `listBackups` does it. Throws `std::runtime_error` when there is no folder `root`.
QList<QSharedPointer<BackupManifest>> findBackups(const QString &root = {});
