#include "commandline.h"
#include "commands.h"
#include "datalocations.h"
#include "exitstatus.h"
#include "interrupt.h"
#include "log.h"
#include "texts.h"

#include <QCoreApplication>
#include <QTranslator>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

constexpr int logFilesKept = 10;

ExitStatus fail(ExitStatus status, const QString &text)
{
    std::fprintf(stderr, "marrowlight-cli: %s\n", printable(text).toUtf8().constData());
    return status;
}

ExitStatus run(const CommandLine &line)
{
    try {
        const CommandResult result = runCommand(line);
        return result.status == ExitStatus::Done ? result.status : fail(result.status, result.error);
    } catch (const std::exception &error) {
        return fail(ExitStatus::Failed, QString::fromUtf8(error.what()));
    } catch (int) {
        return ExitStatus::Interrupted;
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTranslator translator;
    installTexts(translator);
    const ParsedCommandLine parsed = parseCommandLine(QCoreApplication::arguments());
    if (!parsed.error.isEmpty())
        return int(fail(ExitStatus::Usage, parsed.error));
    if (!parsed.help.isEmpty()) {
        std::fputs(parsed.help.toUtf8().constData(), stdout);
        return int(ExitStatus::Done);
    }
    installInterruptHandler();
    logInit(dataRoot().absoluteFilePath(u"qlogs"_s), logFilesKept, LogConsole::Silent);
    return int(run(parsed.line));
}
