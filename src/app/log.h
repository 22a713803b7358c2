#pragma once

#include <QString>

/// Where messages of the debug level go beside the log file.
enum class LogConsole { Debug, Silent };

/// Sends all Qt messages of the process to a file in `folder` named after the day of the first one,
/// "log-yyyyMMdd.txt", one line a message. Older logs beyond the newest `keep` are deleted, once, here.
/// Call it on the main thread; messages may then come from any thread.
void logInit(const QString &folder, int keep, LogConsole console = LogConsole::Debug);
