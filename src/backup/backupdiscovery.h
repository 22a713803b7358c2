#pragma once

#include "backup/backupmanifest.h"

#include <QSharedPointer>

#include <optional>

/// Folder in which iTunes keeps its backups. It need not exist.
QString defaultBackupRoot();
/// All folders in which programs of the phone's maker keep backups, that one first. A phone can have some in
/// each of them.
QStringList defaultBackupRoots();

/// Whether `folder` has "Manifest.plist" and a list of files, "Manifest.mbdb" or "Manifest.db".
bool isBackupFolder(const QDir &folder);

/// The backups in `root`, described (`loadInfo`) and sorted by folder name. One that can't be read is logged
/// and passed over.
QList<QSharedPointer<BackupManifest>> listBackups(const QString &root);

/// Mobile country code of the phone whose backup lies in `folder`, by its number and its SIM card in
/// "Info.plist"; empty when that tells neither. A damaged one is logged.
QString countryOfBackup(const QDir &folder);

enum class BackupOpening { Ready, NeedsPassword, WrongPassword };

/// Takes a backup through `loadInfo`, `unlockKeyBag` and `loadIndex`. Without a password an encrypted
/// backup stops at `NeedsPassword`; call again with one. Throws `std::runtime_error` that names the
/// file, or the integer -1 when `progress`, if any, was cancelled.
BackupOpening openBackup(BackupManifest &manifest, const std::optional<QString> &password,
                         JobProgress *progress = nullptr);
