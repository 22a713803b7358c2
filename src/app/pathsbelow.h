#pragma once

#include <QDir>
#include <QHash>
#include <QString>

#include <optional>

/// `pathBelow` for many names of one root: what it found out of a folder is remembered, so that a file
/// costs one look at the disk, and one more in a folder not seen before. For one thread, and for no longer
/// than nobody changes the folders.
class PathsBelow
{
public:
    explicit PathsBelow(const QDir &rootFolder) : root(rootFolder.absolutePath()) {}

    /// The path of the ordinary file `name` below the root; nothing when there is none, or when `pathBelow`
    /// refuses the name.
    std::optional<QString> file(const QString &name);

private:
    bool isFolder(const QString &name);

    QString root;
    QHash<QString, bool> folders; ///< by name: whether it is one, with no link on the way
};
