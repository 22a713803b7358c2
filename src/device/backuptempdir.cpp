#include "device/backuptempdir.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "backup/backupfiles.h"
#include "device/iosdevice.h"

using namespace Qt::StringLiterals;

namespace
{

QString choiceFile()
{
    return dataRoot().absoluteFilePath(u"__marrowlight_iosbk_temp.path"_s);
}

QString rememberedChoice()
{
    QFile file(choiceFile());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return rememberedVolume(QString::fromUtf8(file.readAll().constData()));
}

QDir folderOn(const QString &volume)
{
    return QDir(QDir(volume).absoluteFilePath(u"__marrowlight_iosbk_temp"_s));
}

/// Without a note the choice is only made again.
void remember(const QString &volume)
{
    QFile file(choiceFile());
    if (file.open(QIODevice::WriteOnly))
        file.write(volume.toUtf8());
}

/// Beside the backup: a tool may empty the folder itself.
QString lockPath(const IOSDevice &phone)
{
    const QString folder = backupFolderOf(phone).absolutePath();
    makeIosBackupTempDir();
    return folder + u".lock"_s;
}

} // namespace

std::optional<QDir> chosenBackupTempDir()
{
    const QString volume = rememberedChoice();
    return volume.isEmpty() ? std::nullopt : std::optional(folderOn(volume));
}

QDir backupFolderOf(const IOSDevice &phone)
{
    const std::optional<QString> folder = pathBelow(iosBackupTempDir(), phone.uniqueDeviceID);
    if (!folder || phone.uniqueDeviceID.isEmpty())
        throw std::runtime_error("The phone gives an identifier that names no folder.");
    return QDir(*folder);
}

QDir iosBackupTempDir()
{
    QString volume = rememberedChoice();
    if (volume.isEmpty()) {
        volume = freestVolume();
        remember(volume);
    }
    return folderOn(volume);
}

void makeIosBackupTempDir()
{
    const QString folder = iosBackupTempDir().absolutePath();
    QDir().mkpath(QFileInfo(folder).absolutePath());
    makePrivateFolder(folder);
}

PhoneBackupLock::PhoneBackupLock(const IOSDevice &phone) : lock(lockPath(phone))
{
    take();
}

void PhoneBackupLock::take()
{
    lockThrow(lock, iosBackupTempDir(), u"this phone is being loaded already"_s);
}

void clearIosBackupTemp()
{
    removeTree(iosBackupTempDir().absolutePath());
    QFile::remove(choiceFile());
}
