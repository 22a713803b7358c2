#include "backup/backupmanifest.h"

#include "app/boundedbytes.h"
#include "app/filetools.h"
#include "app/interruptdelay.h"
#include "app/jobprogress.h"
#include "app/plistguard.h"
#include "app/plistvalue.h"
#include "backup/backupfiles.h"
#include "backup/backuprewrite.h"
#include "backup/filecopy.h"
#include "backup/keys/keybag.h"
#include "backup/keys/wipe.h"
#include "backup/manifestdb.h"
#include "backup/manifesttree.h"
#include "backup/mbdbreader.h"

#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype longestNameShown = 1024;

PlistValue readPlist(const QString &path)
{
    if (!QFileInfo::exists(path))
        throw std::runtime_error(u"Cannot find %1"_s.arg(path).toStdString());
    QFile file(path);
    const PlistValue plist = PlistValue::parse(readWholeFile(file, largestPlist), true);
    if (!plist.isDictionary())
        qWarning("%ls is no property list; the backup is shown without its details", qUtf16Printable(path));
    return plist;
}

/// A backup that says nothing of it counts as finished.
bool isSnapshotFinished(const QDir &folder)
{
    QFile file(folder.absoluteFilePath(u"Status.plist"_s));
    if (!QFileInfo(file).isFile())
        return true;
    const PlistValue state =
        PlistValue::parse(readWholeFile(file, largestPlist), true).value(u"SnapshotState"_s);
    return !state.isString() || state.toString() == "finished"_L1;
}

/// Cancels, and tells of each whole percent.
RoundsReport roundsReport(JobProgress *progress)
{
    if (!progress)
        return {};
    return [progress, shown = -1](quint32 done, quint32 total) mutable {
        throwIfCancelled(*progress);
        const int percent = percentOf(done, total);
        if (percent != shown)
            progress->updateProgress(QObject::tr("IDS_CHECKING_PASSWORD"), percent, {});
        shown = percent;
    };
}

/// Writes the list of an encrypted backup to `plain`.
void decipherList(const BackupManifest &manifest, const QString &path, const QString &plain)
{
    constexpr qsizetype classSize = 4;
    const std::optional<quint32> protectionClass = readLittleEndian<quint32>(manifest.manifestKey);
    QByteArray key = fileKey(manifest.keyBagClasses, int(protectionClass.value_or(0)),
                             manifest.manifestKey.mid(classSize));
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    if (key.isEmpty())
        throw std::runtime_error("its key is missing or doesn't open");
    decipherFile(path, plain, key);
    if (!isDatabase(plain))
        throw std::runtime_error("it is no database, or damaged");
}

} // namespace

BackupManifest::BackupManifest(const QString &folder, QObject *parent)
    : QObject(parent), backupDir(folder), places(folder)
{
}

BackupManifest::~BackupManifest()
{
    wipeKeys(keyBagClasses);
}

void BackupManifest::loadInfo()
{
    const QString path = backupDir.absoluteFilePath(u"Manifest.plist"_s);
    const bool isNeeded = QFileInfo::exists(path) || !hasPlainManifestDb(backupDir.path());
    const PlistValue root = isNeeded ? readPlist(path) : PlistValue();
    lacksPlist = !root.isDictionary();
    const PlistValue lockdown = root.value(u"Lockdown"_s);
    uniqueDeviceId = lockdown.value(u"UniqueDeviceID"_s).toString();
    deviceName = lockdown.value(u"DeviceName"_s).toString();
    backupDate = root.value(u"Date"_s).toDateTime();
    productType = lockdown.value(u"ProductType"_s).toString();
    productVersion = lockdown.value(u"ProductVersion"_s).toString();
    serialNumber = lockdown.value(u"SerialNumber"_s).toString();
    isEncrypted = root.value(u"IsEncrypted"_s).toBool();
    backupKeyBag = root.value(u"BackupKeyBag"_s).toByteArray();
    isModern = hasManifestDb(backupDir.path());
    manifestKey = root.value(u"ManifestKey"_s).toByteArray();
    isFinished = !isModern || isSnapshotFinished(backupDir);
    // A phone's name is short; a file may claim one that would fill the memory when it is put in.
    const QString phone = deviceName.left(longestNameShown);
    const QString folder = backupDir.dirName();
    const bool isNamedAfterPhone = !uniqueDeviceId.isEmpty() && folder.contains(uniqueDeviceId);
    displayName = isNamedAfterPhone ? QString(folder).replace(uniqueDeviceId, phone) : phone + u'-' + folder;
    if (phone.isEmpty())
        displayName = folder;
    if (!isFinished)
        displayName = QObject::tr("IDS_BACKUP_NOT_FINISHED_%1").arg(displayName);
}

void BackupManifest::loadIndex()
{
    if (!rootNode.children.isEmpty())
        return throwWithoutKeys();
    isModern = hasManifestDb(backupDir.path());
    if (isModern) {
        loadManifestDb();
        return throwWithoutKeys();
    }
    const QString path = standingManifest(backupDir);
    manifestBytes = readMbdbBytes(path);
    buildManifestTree(*this, manifestBytes, path);
    throwWithoutKeys();
}

/// Without keys an enciphered message file would come out as noise.
void BackupManifest::throwWithoutKeys() const
{
    const bool isEnciphered = smsDatabase ? smsDatabase->record.encryptionKey.isPresent()
                                          : isModern && !hasPlainManifestDb(backupDir.path());
    if (lacksPlist && isEnciphered) {
        const QString text =
            u"%1 is missing or damaged. The backup is encrypted, and only that file tells how "
            "its password opens it. Make the backup again."_s;
        throw std::runtime_error(text.arg(backupDir.absoluteFilePath(u"Manifest.plist"_s)).toStdString());
    }
}

void BackupManifest::loadManifestDb()
{
    const QString path = backupDir.absoluteFilePath(u"Manifest.db"_s);
    throwWithoutKeys();
    try {
        const InterruptDelay delay; // the deciphered list must not stay behind
        const QTemporaryDir room;
        const QString plain = room.filePath(u"Manifest.db"_s);
        const bool isEnciphered = isEncrypted && !isDatabase(path);
        if (isEnciphered)
            decipherList(*this, path, plain);
        ManifestList list(ManifestList::OwnFolders::AllContainers);
        readManifestDb(isEnciphered ? plain : path, list, manifestTexts);
        list.addMissingFolders();
        buildManifestTree(*this, list);
    } catch (const std::runtime_error &error) {
        const QString text = u"%1: the list of files can't be read: %2. Make the backup again."_s;
        throw std::runtime_error(text.arg(path, QString::fromUtf8(error.what())).toStdString());
    }
}

const _ManifestNode *BackupManifest::findFile(const QString &domain, const QString &relativePath) const
{
    std::call_once(pathsAreGathered, [this] {
        QList<const _ManifestNode *> pending(rootNode.children.cbegin(), rootNode.children.cend());
        while (!pending.isEmpty()) {
            const _ManifestNode *node = pending.takeLast();
            nodesByPath.insert({node->record.domain.bytes, node->record.path.bytes}, node);
            pending.append(QList<const _ManifestNode *>(node->children.cbegin(), node->children.cend()));
        }
    });
    const QByteArray domainBytes = domain.toUtf8();
    const QByteArray pathBytes = relativePath.toUtf8();
    return nodesByPath.value({domainBytes, pathBytes});
}

bool BackupManifest::isSlowToUnlock() const
{
    return hasDoubleProtection(parseKeyBag(backupKeyBag));
}

bool BackupManifest::unlockKeyBag(const QString &password, JobProgress *progress)
{
    KeyBag keyBag = parseKeyBag(backupKeyBag);
    bool isUnlocked = false;
    try {
        isUnlocked = unlockClasses(keyBag, password, roundsReport(progress));
    } catch (const std::exception &error) {
        const QString path = backupDir.absoluteFilePath(u"Manifest.plist"_s);
        throw std::runtime_error(path.toStdString() + ": " + error.what());
    }
    wipeKeys(keyBagClasses);
    keyBagAttributes = std::move(keyBag.attributes);
    keyBagClasses = std::move(keyBag.classes);
    return isUnlocked;
}

QString BackupManifest::cacheFolderName() const
{
    return md5Hex(backupDir.absolutePath());
}
