#include "recovery/local/copiedfiles.h"

#include <QFile>
#include <QFileInfo>

bool CopiedFiles::copy(const QString &from, const QString &to)
{
    if (!QDir().mkpath(QFileInfo(to).path()) || !QFile::copy(from, to))
        return false;
    paths.insert(to);
    return true;
}

void CopiedFiles::removeBut(const QSet<QString> &named)
{
    for (const QString &path : std::as_const(paths)) {
        if (named.contains(path))
            continue;
        if (QFile::remove(path))
            root.rmpath(root.relativeFilePath(QFileInfo(path).path()));
        else
            qWarning("%s: a file of a broken import is left behind.", qUtf8Printable(path));
    }
    paths.clear();
}
