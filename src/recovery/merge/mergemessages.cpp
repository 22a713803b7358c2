#include "recovery/merge/mergemessages.h"

#include "app/freespace.h"
#include "app/jobprogress.h"
#include "backup/backuprewrite.h"
#include "recovery/merge/backupstaging.h"
#include "recovery/merge/workingcopies.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

void checkHasFiles(const QDir &backup)
{
    for (const QString &name : {QString(manifestName), messageDatabaseName()}) {
        if (!QFileInfo(backup.absoluteFilePath(name)).isFile())
            throw std::runtime_error(u"can not find %1."_s.arg(backup.absoluteFilePath(name)).toStdString());
    }
}

} // namespace

MergeCounts mergeMessages(const QList<_MsgMessage *> &messages, IOS6MessageDb &source, const QDir &backupDir,
                          JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_MERGING_IOS6_MESSAGES"), 0, {});
    checkHasFiles(backupDir);
    BackupRewrite rewrite(backupDir, messageDatabaseNames() + QStringList(manifestName));
    source.close();
    const QString path = source.databasePath();
    BackupStaging staging(backupDir, rewrite);
    staging.checkIsCopy(path);
    checkFreeSpaceThrow(QFileInfo(path).path(), 3 * QFileInfo(path).size());
    WorkingCopies copies(path);
    const auto place = [&](const QString &filename) { return staging.attachmentPlace(filename); };
    MessageMerge merge(copies.phone, copies.merged, place, progress);
    const MergeCounts counts = merge.run(messages);
    if (copies.hadLogMode)
        setJournalMode(copies.merged, u"wal"_s);
    staging.stageDatabase(copies.merged);
    staging.stageAttachments(merge.attachments(), progress);
    staging.stageManifest();
    throwIfCancelled(progress);
    rewrite.commit();
    return counts;
}
