#include "app/datalocations.h"
#include "app/log.h"
#include "app/texts.h"
#include "cli/command.h"
#include "cli/commandline.h"
#include "cli/exitstatus.h"
#include "cli/interrupt.h"
#include "cli/jsonlines.h"
#include "cli/terminalprogress.h"

#include <QGuiApplication>
#include <QTranslator>

#include <cstdio>
#include <span>

using namespace Qt::StringLiterals;

namespace
{

constexpr int logFilesKept = 10;

ExitStatus fail(ExitStatus status, const QString &text)
{
    std::fprintf(stderr, "marrowlight-cli: %s\n", printable(text).toUtf8().constData());
    return status;
}

ExitStatus run(const ParsedCommandLine &parsed)
{
    try {
        TerminalProgress progress(parsed.line.quiet);
        parsed.command->run(parsed.line, progress);
        finishOutput();
        return ExitStatus::Done;
    } catch (const CommandError &error) {
        return fail(error.status, QString::fromUtf8(error.what()));
    } catch (const std::exception &error) {
        return fail(ExitStatus::Failed, QString::fromUtf8(error.what()));
    } catch (int) {
        return ExitStatus::Interrupted;
    }
}

void startLog()
{
    logInit(dataRoot().absoluteFilePath(u"qlogs"_s), logFilesKept, LogConsole::Silent);
}

/// PDF needs what knows fonts; the other commands start faster without it.
bool asksForPdf(std::span<char *const> words)
{
    for (size_t i = 1; i < words.size(); ++i) {
        const QByteArrayView word(words[i]);
        if (word == "--format=pdf" || (word == "pdf" && QByteArrayView(words[i - 1]) == "--format"))
            return true;
    }
    return false;
}

std::unique_ptr<QCoreApplication> makeApplication(int &argc, char **argv)
{
    if (!asksForPdf({argv, size_t(argc)}))
        return std::make_unique<QCoreApplication>(argc, argv);
    // Pages come out the same with and without a display, whatever the environment says of it.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // What the platform has to say is for the log.
    startLog();
    return std::make_unique<QGuiApplication>(argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    installInterruptHandler(); // before anything that may take its time
    const std::unique_ptr<QCoreApplication> application = makeApplication(argc, argv);
    QTranslator translator;
    installTexts(translator);
    const ParsedCommandLine parsed = parseCommandLine(QCoreApplication::arguments());
    if (!parsed.error.isEmpty())
        return int(fail(ExitStatus::Usage, parsed.error));
    if (!parsed.help.isEmpty()) {
        std::fputs(parsed.help.toUtf8().constData(), stdout);
        return int(ExitStatus::Done);
    }
    startLog();
    return int(run(parsed));
}
