#include "childprocess.h"

#ifdef Q_OS_LINUX

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

bool hasChildProcesses()
{
    return true;
}

bool runAndKill(const std::function<bool()> &work, qint64 microseconds)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(work() ? 0 : 1); // no destructors, no exit handlers: this process is a copy of the test
    if (microseconds >= 0) {
        usleep(useconds_t(microseconds));
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

QString resultOfChild(const std::function<QString()> &work)
{
    int ends[2];
    if (pipe(ends) != 0)
        return QStringLiteral("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        const QByteArray text = work().toUtf8();
        _exit(write(ends[1], text.constData(), size_t(text.size())) == text.size() ? 0 : 1);
    }
    close(ends[1]);
    QByteArray text;
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, count);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? QString::fromUtf8(text)
                                                         : QStringLiteral("the child has crashed");
}

bool mountSmallDisk(const QString &folder, qint64 bytes)
{
    const QByteArray options = "size=" + QByteArray::number(bytes);
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("small", folder.toUtf8().constData(), "tmpfs", 0, options.constData()) == 0;
}

bool setDiskWritable(const QString &folder, bool writable)
{
    return mount(nullptr, folder.toUtf8().constData(), nullptr, MS_REMOUNT | (writable ? 0 : MS_RDONLY),
                 nullptr) == 0;
}

#else

bool hasChildProcesses()
{
    return false;
}

bool runAndKill(const std::function<bool()> &, qint64)
{
    return false;
}

QString resultOfChild(const std::function<QString()> &)
{
    return {};
}

bool mountSmallDisk(const QString &, qint64)
{
    return false;
}

bool setDiskWritable(const QString &, bool)
{
    return false;
}

#endif
