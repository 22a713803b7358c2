#include "recovery/local/copiedfiles.h"

#include <QFile>
#include <QFileInfo>

// A file that can't be copied is no reason to lose its message.
bool CopiedFiles::copy(const LocalFile &from, const QString &to, JobProgress *progress)
{
    if (!QDir().mkpath(QFileInfo(to).path()))
        return false;
    try {
        from.copyTo(to, progress);
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        return false;
    }
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
