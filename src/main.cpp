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

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle(u"Fusion"_s);
    QApplication::setDesktopFileName(u"marrowlight"_s);
    QTranslator translator;
    installTexts(translator);
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
    return QApplication::exec();
}
