#include "device/backupworkspace.h"

#include "app/filetools.h"
#include "app/jobprogress.h"
#include "app/plistvalue.h"

#include <QDirIterator>
#include <QStorageInfo>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto replacedName = "replaced"_L1; // of the last backup, for the moment between two renames

PlistValue readPlist(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? PlistValue::parse(file.readAll()) : PlistValue();
}

struct FolderContent {
    QStringList files; ///< below the folder
    qint64 bytes = 0;
};

FolderContent contentOf(const QDir &folder)
{
    FolderContent content;
    QDirIterator found(folder.path(), QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                       QDirIterator::Subdirectories);
    while (found.hasNext()) {
        content.files.append(folder.relativeFilePath(found.next()));
        content.bytes += found.fileInfo().size();
    }
    return content;
}

} // namespace

qint64 sizeOfFolder(const QDir &folder)
{
    return contentOf(folder).bytes;
}

bool isWholeBackup(const QDir &folder)
{
    const QString status = folder.absoluteFilePath(u"Status.plist"_s);
    return QFile::exists(status) && folder.exists(u"Manifest.plist"_s) &&
           (folder.exists(u"Manifest.mbdb"_s) || folder.exists(u"Manifest.db"_s)) &&
           readPlist(status).value(u"SnapshotState"_s).toString() == "finished"_L1;
}

bool canContinueBackup(const QDir &folder, const QString &productVersion)
{
    const QString manifest = folder.absoluteFilePath(u"Manifest.plist"_s);
    return isWholeBackup(folder) &&
           readPlist(manifest).value(u"Lockdown"_s).value(u"ProductVersion"_s).toString() == productVersion;
}

BackupWorkspace::BackupWorkspace(const QDir &root, const QString &udid, const QString &productVersion,
                                 JobProgress &progress)
    : last(root.absoluteFilePath(udid))
    , aside(root.absoluteFilePath(udid + u".new"_s))
    , work(root)
    , name(udid)
{
    takeBack();
    removeTree(aside.absolutePath());
    if (last.exists() && !isWholeBackup(last))
        removeTree(last.absolutePath());
    if (!last.exists())
        return;
    const bool continues = canContinueBackup(last, productVersion);
    if (continues && QStorageInfo(root).bytesAvailable() / 2 < contentOf(last).bytes)
        return;
    if (!aside.mkpath(u"."_s))
        throw std::runtime_error(aside.absolutePath().toStdString() + ": the folder can't be made.");
    work = aside;
    if (continues)
        copyLast(progress);
}

BackupWorkspace::~BackupWorkspace()
{
    removeTree(aside.absolutePath());
}

/// A power cut may have come between the two renames of `keep`.
void BackupWorkspace::takeBack() const
{
    if (!last.exists() && aside.exists(replacedName))
        QDir().rename(aside.filePath(replacedName), last.absolutePath());
}

/// A copy shares its blocks with the original where the file system can.
void BackupWorkspace::copyLast(JobProgress &progress)
{
    const QDir target(aside.filePath(name));
    progress.updateProgress(QObject::tr("IDS_COPYING_LAST_BACKUP"), 0, {});
    try {
        workThrough(contentOf(last).files, progress, {}, [&](const QString &file) {
            target.mkpath(QFileInfo(file).path());
            if (!QFile::copy(last.filePath(file), target.filePath(file)))
                throw std::runtime_error(target.filePath(file).toStdString() + ": the file can't be copied.");
        });
    } catch (...) {
        removeTree(aside.absolutePath());
        throw;
    }
}

void BackupWorkspace::keep()
{
    if (work != aside)
        return;
    const QString old = aside.filePath(replacedName);
    const bool isAway = !last.exists() || QDir().rename(last.absolutePath(), old);
    if (isAway && QDir().rename(aside.filePath(name), last.absolutePath()))
        return;
    takeBack();
    throw std::runtime_error(last.absolutePath().toStdString() + ": the new backup can't take this place.");
}

void BackupWorkspace::discard()
{
    if (work != aside)
        removeTree(last.absolutePath());
}
