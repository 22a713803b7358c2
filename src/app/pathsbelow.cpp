#include "app/pathsbelow.h"

#include "app/filetools.h"

#include <QFileInfo>

namespace
{

constexpr qsizetype mostFolders = 8192;
constexpr qsizetype longestName = 4096; // no system opens a longer path

} // namespace

std::optional<QString> PathsBelow::file(const QString &name)
{
    const qsizetype slash = name.lastIndexOf(u'/');
    if (name.size() > longestName || !isPlainComponent(QStringView(name).sliced(slash + 1)) ||
        (slash >= 0 && !isFolder(name.first(slash))))
        return std::nullopt;
    const QFileInfo file(root + u'/' + name);
    return !file.isSymLink() && file.isFile() ? std::optional(file.filePath()) : std::nullopt;
}

bool PathsBelow::isFolder(const QString &name)
{
    if (const auto known = folders.constFind(name); known != folders.cend())
        return *known;
    const qsizetype slash = name.lastIndexOf(u'/');
    bool isOne =
        isPlainComponent(QStringView(name).sliced(slash + 1)) && (slash < 0 || isFolder(name.first(slash)));
    if (isOne) {
        const QFileInfo folder(root + u'/' + name);
        isOne = !folder.isSymLink() && folder.isDir();
    }
    if (folders.size() >= mostFolders)
        folders.clear();
    folders.insert(name, isOne);
    return isOne;
}
