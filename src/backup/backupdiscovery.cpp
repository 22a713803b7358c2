#include "backup/backupdiscovery.h"

#include "app/datalocations.h"
#include "app/plistguard.h"
#include "app/plistvalue.h"
#include "backup/backupfiles.h"
#include "backup/manifestdb.h"
#include "store/people/sourcecountry.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QString defaultBackupRoot()
{
    return applicationDataParent() + u"/Apple Computer/MobileSync/Backup"_s;
}

QStringList defaultBackupRoots()
{
    QStringList roots{defaultBackupRoot()};
#ifdef Q_OS_WIN
    roots.append(QDir::homePath() + u"/Apple/MobileSync/Backup"_s); // of the "Apple Devices" program
#endif
    return roots;
}

bool isBackupFolder(const QDir &folder)
{
    const bool hasList = folder.exists(u"Manifest.mbdb"_s) || hasManifestDb(folder.path());
    return (hasList && folder.exists(u"Manifest.plist"_s)) || hasPlainManifestDb(folder.path());
}

QList<QSharedPointer<BackupManifest>> listBackups(const QString &root)
{
    QList<QSharedPointer<BackupManifest>> backups;
    for (const QFileInfo &entry : QDir(root).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QDir folder(entry.absoluteFilePath());
        if (!isBackupFolder(folder))
            continue;
        try {
            const auto manifest = QSharedPointer<BackupManifest>::create(folder.absolutePath());
            manifest->loadInfo();
            backups.append(manifest);
        } catch (const std::exception &error) {
            qWarning("a backup is passed over: %s", error.what());
        }
    }
    return backups;
}

QString countryOfBackup(const QDir &folder)
{
    QFile file(folder.absoluteFilePath(u"Info.plist"_s));
    if (!file.exists())
        return {};
    try {
        const PlistValue info = PlistValue::parse(readWholeFile(file, largestPlist), true);
        return countryOfPhone(info.value(u"Phone Number"_s).toString(), info.value(u"ICCID"_s).toString());
    } catch (const std::exception &error) {
        qWarning("the country of a backup is looked for in its messages: %s", error.what());
        return {};
    }
}

BackupOpening openBackup(BackupManifest &manifest, const std::optional<QString> &password,
                         JobProgress *progress)
{
    manifest.loadInfo();
    if (manifest.isEncrypted && !password)
        return BackupOpening::NeedsPassword;
    if (manifest.isEncrypted && !manifest.unlockKeyBag(*password, progress))
        return BackupOpening::WrongPassword;
    manifest.loadIndex();
    return BackupOpening::Ready;
}
