#include "store/readers/attachmentpaths.h"

#include "app/filetools.h"
#include "store/records/phonetree.h"

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

QString pathInHome(const QString &filename)
{
    constexpr auto home = "var/mobile/"_L1;
    const QString path = pathInRelay(filename);
    return path.startsWith(home) ? path.sliced(home.size()) : QString();
}

FolderAttachments::FolderAttachments(const QDir &root) : tree(phoneTree(root)), folder(root)
{
}

LocalFile FolderAttachments::find(const QString &filename)
{
    if (filename.isEmpty())
        return {};
    const QString path = pathInRelay(filename);
    std::optional<QString> file = tree.file(path);
    if (const QString safe = withSafeName(path); !file && safe != path)
        file = tree.file(safe);
    if (!file)
        file = folder.file(pathBelowRoot(filename));
    if (!file)
        file = folder.file(pathBesideDatabase(path));
    return file ? LocalFile(*file) : LocalFile();
}
