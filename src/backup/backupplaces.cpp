#include "backup/backupplaces.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto snapshot = "Snapshot"_L1;

} // namespace

BackupPlaces::Place BackupPlaces::find(const QString &name, bool isModern)
{
    const std::scoped_lock lock(mutex);
    if (!isModern)
        return lookIn({}, name, isModern);
    const QString sorted = name.first(2);
    QStringList shelves{sorted, QString()};
    if (kindOf(snapshot) != Folder::Missing)
        shelves += {snapshot + (u'/' + sorted), QString(snapshot)};
    for (const QString &shelf : std::as_const(shelves)) {
        const Place place = lookIn(shelf, name, isModern);
        if (place.isTaken)
            return place;
    }
    return {root.absoluteFilePath(sorted + u'/' + name)};
}

BackupPlaces::Place BackupPlaces::lookIn(const QString &folder, const QString &name, bool isModern)
{
    const Folder kind = kindOf(folder);
    Place place{root.absoluteFilePath(folder.isEmpty() ? name : folder + u'/' + name)};
    if (kind == Folder::Missing)
        return place;
    const QFileInfo file(place.path);
    const bool isLink = file.isSymLink();
    place.isTaken = isModern ? file.isFile() : file.exists();
    if (!place.isTaken)
        return place;
    place.size = file.size();
    place.isAllowed = file.isFile() && kind == Folder::Inside;
    if (place.isAllowed && isLink) {
        const QString target = file.canonicalFilePath();
        place.isAllowed = isModern ? target.startsWith(canonicalRoot() + u'/')
                                   : QFileInfo(target).absolutePath() == canonicalRoot();
    }
    return place;
}

// A folder that is missing may come yet, except that for unfinished files: most backups have none.
BackupPlaces::Folder BackupPlaces::kindOf(const QString &folder)
{
    if (folder.isEmpty())
        return Folder::Inside;
    if (const auto known = folders.constFind(folder); known != folders.cend())
        return *known;
    const qsizetype slash = folder.indexOf(u'/');
    const Folder above = slash < 0 ? Folder::Inside : kindOf(folder.first(slash));
    const Folder kind = above == Folder::Inside ? look(root.absoluteFilePath(folder)) : above;
    if (kind != Folder::Missing || folder == snapshot)
        folders.insert(folder, kind);
    return kind;
}

BackupPlaces::Folder BackupPlaces::look(const QString &folder)
{
    const QFileInfo info(folder);
    const bool isLink = info.isSymLink();
    if (!info.isDir())
        return Folder::Missing;
    const bool isInside = !isLink || info.canonicalFilePath().startsWith(canonicalRoot() + u'/');
    return isInside ? Folder::Inside : Folder::Outside;
}

const QString &BackupPlaces::canonicalRoot()
{
    if (canonical.isEmpty())
        canonical = root.canonicalPath();
    return canonical;
}
