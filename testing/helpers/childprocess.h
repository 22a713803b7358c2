#pragma once

#include "testing/helpers/testtools.h"

#include <QTemporaryDir>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

/// What `work` returns in a child process; "signal 9" when that is killed after `microseconds`, -1 for never.
inline QString resultOfChild(const std::function<QString()> &work, qint64 microseconds = -1)
{
    const QTemporaryDir dir;
    const QString result = dir.filePath(QStringLiteral("result"));
    const pid_t child = fork();
    if (child == 0)
        _exit(writeFile(result, work().toUtf8()) ? 0 : 1); // not the destructors of a copy of the test
    if (child > 0 && microseconds >= 0) {
        usleep(useconds_t(microseconds));
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? QStringLiteral("signal %1").arg(WTERMSIG(status))
                               : QString::fromUtf8(bytesOf(result));
}
