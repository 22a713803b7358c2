#pragma once

#include "recovery/local/localdatabases.h"

#include <QDir>
#include <QSharedPointer>

class BackupManifest;

// Where sources of messages lie, by what a person names.

enum class SourceKind {
    Backup,       ///< a backup folder, perhaps one that lacks something
    PhoneFolder,  ///< a folder that holds the phone's own tree
    DatabaseFile, ///< a message database alone
    LocalDatabase ///< one of the program's own
};

/// What the name of a source stands for.
struct FoundSource {
    SourceKind kind;
    QDir folder;            ///< of the backup or of the phone's tree
    LocalDatabase database; ///< of a Local Database
    QString file;           ///< the message database alone
};

/// `name` is the path of a backup folder, of a folder with one backup or with a phone's tree in it, or of a
/// message database; or the name of a Local Database. Opens no database. Throws `std::runtime_error` that
/// says what was tried when it is none of them, and one that names the backups of a folder with several.
FoundSource findSource(const QString &name);

/// The backups below `root`, or in the default places where that is empty, described and sorted as
/// `listBackups` does it. Throws `std::runtime_error` when there is no folder `root`.
QList<QSharedPointer<BackupManifest>> findBackups(const QString &root = {});
