#include "app/datalocations.h"
#include "app/log.h"
#include "app/product.h"
#include "app/texts.h"
#include "device/mobiledevice.h"
#include "recovery/local/updatelocaldatabases.h"
#include "sqlite_qt/sqlite3db.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"
#include "ui/mainwindow.h"
#include "ui/phonenotice.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace
{

constexpr int accessLayerVersion = 6;
constexpr int logFilesKept = 10;

void warnWithoutDeviceLibraries([[maybe_unused]] MainWindow &window)
{
#ifdef Q_OS_WIN
    if (!mobiledevice_can_reach_phones())
        showWarning(QObject::tr("IDS_NONE_INSTALL_ITUNES").arg(websiteAddress().toHtmlEscaped()));
#else
    showPhoneNotice(window, missingForPhones());
#endif
}

/// Converts databases of the old format. True when there were some: the window then shows what was
/// rewritten under it, and the program has to be started again.
bool upgradeLocalDatabases()
{
    if (!needsLocalDbUpdate())
        return false;
    ProgressForm form(QString{});
    form.setCancelEnabled(false);
    LocalDbUpdateThread job(&form, nullptr);
    return runUnder(form, job);
}

/// The backup's folder that a desktop or a person hands over; empty when there is none. Ends the program for
/// --help and --version, and when the words on the command line are off.
QString folderOnCommandLine(const QApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QObject::tr("Keep, read and export the text messages of an iPhone."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QObject::tr("FOLDER"), QObject::tr("The folder of a backup to import."),
                                 QObject::tr("[FOLDER]"));
    parser.process(application);
    const QString folder = parser.positionalArguments().value(0);
    return folder.isEmpty() ? QString() : QDir(folder).absolutePath();
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle(u"Fusion"_s);
    QApplication::setDesktopFileName(desktopId());
    QApplication::setApplicationVersion(versionText());
    QTranslator translator;
    installTexts(translator);
    const QString folder = folderOnCommandLine(application);
    if (sqlite_qt_version() != accessLayerVersion) {
        showError(u"invalid libsqlite_qt."_s);
        return 1;
    }
    logInit(dataRoot().absoluteFilePath(u"qlogs"_s), logFilesKept);
    QString missingLibraries;
    mobiledevice_load_frameworks(missingLibraries);
    MainWindow window;
    window.setVisible(true);
    warnWithoutDeviceLibraries(window);
    if (upgradeLocalDatabases())
        QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
    else if (!folder.isEmpty())
        window.importFolder(folder);
    return QApplication::exec();
}
