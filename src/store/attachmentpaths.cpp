#include "attachmentpaths.h"

#include "filetools.h"

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

/// Files are taken out of a backup under names that every system takes; folders keep theirs.
QString pathInRelay(const QString &filename)
{
    QString path = pathOnPhone(filename);
    if (path.startsWith("private/var/"_L1)) // what "/var" is a link to
        path.remove(0, 8);
    const qsizetype name = path.lastIndexOf(u'/') + 1;
    return path.first(name) + safeFileName(path.sliced(name));
}

bool isFile(const std::optional<QString> &path)
{
    return path && QFileInfo(*path).isFile();
}

} // namespace

std::optional<QString> attachmentTarget(const QDir &root, const QString &filename)
{
    static const QRegularExpression forbidden(u"[:*?\"<>|]"_s);
    return pathBelow(root, pathOnPhone(filename).remove(forbidden));
}

QString attachmentFile(const QDir &root, const QString &filename)
{
    if (filename.isEmpty())
        return {};
    const auto onPhone = pathBelow(QDir(root.absoluteFilePath(u"file-relay"_s)), pathInRelay(filename));
    if (isFile(onPhone))
        return *onPhone;
    const auto kept = attachmentTarget(root, filename);
    return isFile(kept) ? *kept : QString();
}
