#include "cli/terminalprogress.h"

#include "app/texts.h"

#include <cstdio>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace
{

bool isErrorStreamTerminal()
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(fileno(stderr)) != 0;
#endif
}

} // namespace

TerminalProgress::TerminalProgress(bool quiet) : shown(!quiet && isErrorStreamTerminal())
{
}

TerminalProgress::~TerminalProgress()
{
    clear();
}

void TerminalProgress::updateProgress(const QString &newStatus, int curProgress, const QString &progressText)
{
    if (!shown)
        return;
    if (!newStatus.isEmpty())
        status = newStatus;
    if (curProgress >= 0)
        percent = curProgress;
    // Names out of a backup must not reach the terminal as commands to it.
    const QString words = printable(status + u"  "_s + progressText);
    std::fprintf(stderr, "\r\033[K%3d%%  %s", percent, words.toUtf8().constData());
    std::fflush(stderr);
    lineStands = true;
}

void TerminalProgress::clear()
{
    if (!lineStands)
        return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    lineStands = false;
}
