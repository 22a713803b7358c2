#pragma once

#include "backup/manifestwriter.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

class BackupRewrite;
class JobProgress;

/// Name of the message database in a backup folder.
QString messageDatabaseName();
/// Names there of the database and of what SQLite keeps beside it.
QStringList messageDatabaseNames();

/// Prepares the files that the backup gets.
class BackupStaging
{
public:
    /// Reads the manifest. Throws `std::runtime_error`, as all below does.
    BackupStaging(const QDir &backupDir, BackupRewrite &backupRewrite);

    /// Throws unless the database at `source` is the one that the backup holds.
    void checkIsCopy(const QString &source) const;
    void stageDatabase(const QString &path);
    /// Where the file of an attachment that the phone calls `filename` lies or would lie in the backup;
    /// nothing when it can't be there.
    std::optional<QString> attachmentPlace(const QString &filename) const;
    /// Those that have a file. One that is there already stays.
    void stageAttachments(const QList<_MsgAttachment> &attachments, JobProgress &progress);
    void stageManifest();

private:
    /// A file that the backup gets.
    struct Added {
        LocalFile source;
        QString path; ///< on the phone, in its domain
    };

    void stageAttachment(const LocalFile &file, const QString &name, JobProgress &progress);
    void addAttachment(const _MsgAttachment &attachment);
    std::optional<QString> pathInDomain(const QString &filename) const;
    void stageFile(const QString &from, const QString &name);
    bool isListed(const QString &name) const;
    void emptyCompanions();
    void updateRecord(const QString &name);

    QDir backup;
    BackupRewrite &rewrite;
    QString manifestPath;
    QHash<QString, _MbdbRecord> records;
    QList<Added> added;
    QSet<QString> addedPaths;
};
