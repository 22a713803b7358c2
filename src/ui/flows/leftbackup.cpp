#include "ui/flows/leftbackup.h"

#include "app/filetools.h"
#include "app/freespace.h"
#include "device/backuptempdir.h"
#include "ui/dialogs/boxes.h"
#include "ui/jobs/jobrunner.h"
#include "ui/mainwindow.h"
#include "ui/views/noticebar.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

namespace
{

const QString barName = u"backupNotice"_s;

void removeBackup(const IOSDevice &phone, const QString &folder, QWidget *window)
{
    try {
        const PhoneBackupLock lock(phone);
        runBusy(QObject::tr("IDS_REMOVING_BACKUP"), window, [folder] { removeTree(folder); });
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
}

} // namespace

void tellOfLeftBackup(MainWindow &window, const IOSDevice &phone, const QDir &folder, qint64 bytes)
{
    delete window.findChild<NoticeBar *>(barName);
    const QString path = folder.absolutePath();
    auto *bar =
        new NoticeBar(barName, QObject::tr("IDS_BACKUP_STAYS_%1_%2_%3")
                                   .arg(phone.deviceName, sizeText(bytes), QDir::toNativeSeparators(path)));
    QPushButton *button = bar->addButton(QObject::tr("IDS_REMOVE_BACKUP"));
    button->setObjectName(u"btnRemoveBackup"_s);
    QObject::connect(button, &QPushButton::clicked, bar, [bar, phone, path, &window] {
        bar->hide();
        removeBackup(phone, path, &window);
    });
    window.showOnTop(bar);
}
