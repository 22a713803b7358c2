#include "store/readers/attachmentpaths.h"

#include "app/filetools.h"
#include "store/records/phonetree.h"

#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

QString pathOnPhone(const QString &filename)
{
    const QString path = filename.startsWith(u'/') ? filename.sliced(1) : filename;
    return path.startsWith("~/"_L1) ? u"var/mobile/"_s + path.sliced(2) : path;
}

QString pathInRelay(const QString &filename)
{
    const QString path = pathOnPhone(filename);
    return path.startsWith("private/var/"_L1) ? path.sliced(8) : path; // what "/var" is a link to
}

/// The database and its attachments lie in one folder of the phone or the Mac.
QString pathBesideDatabase(const QString &path)
{
    static const QRegularExpression folder(u"^.*/Library/(SMS|Messages)/(?=Attachments/)"_s);
    return QString(path).remove(folder);
}

/// Files are taken out of a backup under names that every system takes; folders keep theirs.
QString withSafeName(const QString &path)
{
    const qsizetype name = path.lastIndexOf(u'/') + 1;
    return path.first(name) + safeFileName(path.sliced(name));
}

} // namespace

QString pathBelowRoot(const QString &filename)
{
    static const QRegularExpression forbidden(u"[:*?\"<>|]"_s);
    return pathOnPhone(filename).remove(forbidden);
}

std::optional<QString> attachmentTarget(const QDir &root, const QString &filename)
{
    return pathBelow(root, pathBelowRoot(filename));
}

QString attachmentFile(const QDir &root, const QString &filename)
{
    if (filename.isEmpty())
        return {};
    const QDir tree = phoneTree(root);
    const QString path = pathInRelay(filename);
    for (const auto &place : {pathBelow(tree, path), pathBelow(tree, withSafeName(path)),
                              attachmentTarget(root, filename), pathBelow(root, pathBesideDatabase(path))}) {
        if (place && QFileInfo(*place).isFile())
            return *place;
    }
    return {};
}
