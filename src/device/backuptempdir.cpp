#include "backuptempdir.h"

#include "datalocations.h"
#include "filetools.h"

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

/// Without a note the choice is only made again.
void remember(const QString &volume)
{
    QFile file(choiceFile());
    if (file.open(QIODevice::WriteOnly))
        file.write(volume.toUtf8());
}

} // namespace

QDir iosBackupTempDir()
{
    QString volume = rememberedChoice();
    if (volume.isEmpty()) {
        volume = roomiestVolume();
        remember(volume);
    }
    return QDir(QDir(volume).absoluteFilePath(u"__marrowlight_iosbk_temp"_s));
}

void clearIosBackupTemp()
{
    removeTree(iosBackupTempDir().absolutePath());
    QFile::remove(choiceFile());
}
