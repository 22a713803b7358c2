#pragma once

#include "backup/mbdbrecord.h"

#include <QHash>
#include <QList>

// The writing side of "Manifest.mbdb". Records are kept as `readMbdbFile` hands them out: by the name that
// their file has in the backup folder.

/// A file that a backup gets: where it lies now, and what it is on the phone.
struct AddedFile {
    QString localPath;
    QString domain;
    QString path;
};

/// Gives each file a record, and the folders above it those that they lack: the folders above a known one
/// are taken to be known. A file that has a record keeps it and its length; hash and dates are new. New
/// inodes count on from the highest there is.
void addBackupFiles(QHash<QString, _MbdbRecord> &records, const QList<AddedFile> &files);
void addBackupFile(QHash<QString, _MbdbRecord> &records, const QString &localPath, const QString &domain,
                   const QString &path);

/// Sets the dates of `record` from those of the file at `localPath`.
void setFileDates(_MbdbRecord &record, const QString &localPath);

/// SHA-1 of a whole file, 20 raw bytes; empty if it can't be read.
QByteArray fileSha1(const QString &path);

void setDataHash(_MbdbRecord &record, const QByteArray &bytes);

/// Writes a manifest, sorted by domain, then path. Throws `std::runtime_error` that names the file; what
/// was written so far stays.
void writeMbdbFile(const QHash<QString, _MbdbRecord> &records, const QString &path);
