#include "app/log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <mutex>

using namespace Qt::StringLiterals;

namespace
{

struct LogState {
    // QFile is not made for two threads, and a line must not be torn. Recursive, because a failing
    // QFile may itself log.
    std::recursive_mutex mutex;
    QString folder;
    QFile file;
    LogConsole console = LogConsole::Debug;
};

LogState &state()
{
    static LogState instance;
    return instance;
}

void openLogFile(LogState &log)
{
    QDir().mkpath(log.folder);
    log.file.setFileName(log.folder +
                         u"/log-%1.txt"_s.arg(QDateTime::currentDateTime().toString(u"yyyyMMdd"_s)));
    // There is nobody to tell that the log can't be written: its lines are lost.
    [[maybe_unused]] const bool opened = log.file.open(QIODevice::ReadWrite | QIODevice::Append);
}

QString lineTemplate(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg: return u"(D %1) %2\n"_s;
    case QtWarningMsg: return u"(W %1) %2\n"_s;
    case QtCriticalMsg: return u"(C %1) %2\n"_s;
    case QtFatalMsg: return u"(F %1) %2\n"_s;
    default: return u"(%1) %2\n"_s;
    }
}

void logHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    LogState &log = state();
    const std::lock_guard lock(log.mutex);
    if (!log.file.isOpen())
        openLogFile(log);
    const QString line = lineTemplate(type).arg(QTime::currentTime().toString(u"hh:mm:ss"_s), message);
    if (log.file.isOpen())
        log.file.write(line.toUtf8());
    if (type == QtFatalMsg)
        std::abort();
    if (type == QtDebugMsg && log.console == LogConsole::Debug)
        std::fprintf(stderr, "%s\n", message.toUtf8().constData());
    log.file.flush();
}

} // namespace

void logInit(const QString &folder, int keep, LogConsole console)
{
    LogState &log = state();
    log.folder = folder;
    log.console = console;
    QDir dir(folder);
    // The name holds the date, so that the oldest come first.
    QStringList files = dir.entryList(QDir::Files, QDir::Name);
    for (; files.size() > keep; files.removeFirst())
        dir.remove(files.first());
    qInstallMessageHandler(logHandler);
}
