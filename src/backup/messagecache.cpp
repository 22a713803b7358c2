#include "backup/messagecache.h"

#include "app/filetools.h"
#include "app/jobprogress.h"
#include "backup/backupmanifest.h"
#include "backup/cachefilenames.h"
#include "backup/extractmessages.h"
#include "sqlite_qt/databasefiles.h"

#include <QFileInfo>
#include <QObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr int deepestFolder = 256;
constexpr qsizetype longestName = 255; // bytes, what file systems take

/// Path of `name` in `folder`, or nothing, with a line in the log, when it can't stand there.
std::optional<QString> placeIn(const QDir &folder, const QString &name)
{
    const std::optional<QString> path = pathBelow(folder, name);
    if (path && QFile::encodeName(name).size() <= longestName)
        return path;
    qWarning("a backup names a file that can't be kept, it is left out: %ls", qUtf16Printable(name));
    return std::nullopt;
}

void makeFolder(const QString &path)
{
    const QFileInfo info(path);
    if (info.isFile()) // stood there in an earlier state of the backup
        QFile::remove(path);
    if (!info.isDir() && !QDir().mkpath(path))
        throw std::runtime_error(u"%1: the folder can't be made"_s.arg(path).toStdString());
}

const _ManifestNode *sibling(const _ManifestNode &node, const QString &name)
{
    const QList<_ManifestNode *> &all = node.parent->children;
    const auto found = std::find_if(all.cbegin(), all.cend(), [&](const _ManifestNode *other) {
        return other->name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == all.cend() ? nullptr : *found;
}

} // namespace

MessageCache::MessageCache(const BackupManifest &source, const QDir &cacheDir, Attachments attachments,
                           JobProgress &jobProgress)
    : manifest(source)
    , progress(jobProgress)
    , isForDatabases(areLeft(attachments, source))
    , library(cacheDir.absoluteFilePath(u"file-relay/var/mobile/Library"_s))
    , half(cacheDir.absoluteFilePath(u"half-copied"_s))
    , cacheDb(cacheDir.absoluteFilePath(u"manifest.db"_s))
{
    makeFolder(library.absolutePath());
    // Not the folder around it: deleted messages that were found are kept there, and they are no copy.
    markAsCache(QDir(cacheDir.absoluteFilePath(u"file-relay"_s)));
}

MessageCache::~MessageCache()
{
    cacheDb.rollback();
}

void MessageCache::copyFolder(const _ManifestNode &folder, const QString &name)
{
    copyNode(folder, name, library, 0);
}

void MessageCache::copyNode(const _ManifestNode &node, const QString &name, const QDir &destination,
                            int depth)
{
    progress.updateProgress(QObject::tr("IDS_CACHING_BACKUP_FILE_%1").arg(node.name), -1, {});
    throwIfCancelled(progress);
    if (!isEmptyEntry(node.record)) {
        copyFile(node, safeFileName(name), destination);
        return;
    }
    const std::optional<QString> folder = placeIn(destination, name);
    if (!folder)
        return;
    makeFolder(*folder);
    copyChildren(node, QDir(*folder), depth + 1);
}

void MessageCache::copyChildren(const _ManifestNode &node, const QDir &folder, int depth)
{
    if (depth > deepestFolder) {
        qWarning("a backup nests its folders too deep, the rest is left out: %ls",
                 qUtf16Printable(folder.path()));
        return;
    }
    for (const _ManifestNode *child : node.children) {
        const bool isTop = depth == 1;
        if (isForDatabases && !isReadFile(child->name))
            continue;
        // An empty file becomes a folder here, and SQLite would take one for its log.
        if (isTop && isReadCompanion(child->name) && isEmptyEntry(child->record))
            continue;
        copyNode(*child, isTop ? cacheFileName(*child) : child->name, folder, depth);
    }
}

void MessageCache::copyFile(const _ManifestNode &node, const QString &name, const QDir &destination)
{
    const QString hash = recordFileName(node.record);
    const int date = int(node.record.mtime);
    if (isCurrent(cacheDb.lastDate(hash), date, destination.filePath(name)) ||
        !manifest.sourceFile(node.record))
        return;
    const std::optional<QString> target = placeIn(destination, name);
    if (!target)
        return;
    if (isReadDatabase(name))
        removeLeftOvers(node, *target);
    else if (const QString damage = manifest.damageOf(node.record); !damage.isEmpty())
        return qWarning("%ls is left out: %ls", qUtf16Printable(*target), qUtf16Printable(damage));
    cacheDb.forgetNow(hash);
    replaceFile(node, *target);
    cacheDb.setLastDate(hash, date);
}

/// Of a modern backup a copy has to be there still, and a date that nobody knows is no reason to keep it.
bool MessageCache::isCurrent(int lastDate, int date, const QString &copy) const
{
    const bool isKnown = !manifest.isModern || (date != 0 && QFileInfo(copy).isFile());
    return isKnown && lastDate == date;
}

// Under its own name a file is whole or isn't there, also when the program is killed.
void MessageCache::replaceFile(const _ManifestNode &node, const QString &target)
{
    manifest.extractFile(&node, half, &progress);
    if (QFileInfo(target).isDir()) // an empty file in an earlier state of the backup
        QDir(target).removeRecursively();
    renameThrow(half, target);
}

// A log of an older copy, applied to a newer database, would give wrong messages.
void MessageCache::removeLeftOvers(const _ManifestNode &database, const QString &target)
{
    for (const QLatin1StringView suffix : companionSuffixes) {
        const _ManifestNode *listed = sibling(database, database.name + suffix);
        if (listed && !isEmptyEntry(listed->record) && manifest.sourceFile(listed->record))
            continue;
        QFile::remove(target + suffix);
        const _MbdbRecord &record = database.record;
        cacheDb.removeEntry(mbdbFileName(record.domain.text(), record.path.text() + suffix));
    }
}
