#include "app/disksync.h"

#include <QFile>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <cstring>
#include <stdexcept>

#ifdef Q_OS_WIN

// Windows has no such call for folders; its file systems log what happens to names.
void syncToDisk(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && _commit(file.handle()) != 0)
        throw std::runtime_error(path.toStdString() + ": " + std::strerror(errno));
}

#else

void syncToDisk(const QString &path)
{
    const int handle = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    // Some file systems sync no folders; that is no failure of the file.
    const bool isSynced = handle >= 0 && (fsync(handle) == 0 || errno == EINVAL);
    const int error = errno;
    if (handle >= 0)
        close(handle);
    if (!isSynced)
        throw std::runtime_error(path.toStdString() + ": " + std::strerror(error));
}

#endif
