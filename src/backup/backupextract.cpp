#include "app/freespace.h"
#include "app/jobprogress.h"
#include "backup/backupfiles.h"
#include "backup/backupmanifest.h"
#include "backup/filecipher.h"
#include "backup/filecopy.h"
#include "backup/keys/keybag.h"
#include "backup/keys/wipe.h"

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype keyPrefixSize = 4;

QByteArray plainKey(const BackupManifest &manifest, const _MbdbRecord &record)
{
    return fileKey(manifest.keyBagClasses, qint8(record.protectionClass),
                   record.encryptionKey.bytes.mid(keyPrefixSize));
}

/// Null when the file is to be copied as it lies: the backup is plain, or the file has no key.
std::unique_ptr<FileCipher> cipherOf(const BackupManifest &manifest, const _MbdbRecord &record)
{
    if (!manifest.isEncrypted)
        return nullptr;
    QByteArray key = plainKey(manifest, record);
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    std::optional<Aes256> aes = Aes256::forDecryption(key);
    if (!aes)
        return nullptr;
    if (manifest.isModern)
        return std::make_unique<PaddedCipher>(std::move(*aes), record.path.text());
    return std::make_unique<LengthCipher>(std::move(*aes), record.fileLength);
}

/// A video may take minutes.
void reportBlock(qint64 total, qint64 done, void *userData)
{
    constexpr qint64 largeFile = 64 * 1024 * 1024; // bytes; so is the next
    constexpr qint64 step = 4 * 1024 * 1024;
    auto &progress = *static_cast<JobProgress *>(userData);
    throwIfCancelled(progress);
    if (total >= largeFile && done % step == 0)
        progress.updateProgress({}, -1, u"%1 / %2"_s.arg(sizeText(done), sizeText(total)));
}

[[noreturn]] void throwOddLength(const QString &name)
{
    throw std::runtime_error(u"%1, POLARSSL_ERR_AES_INVALID_INPUT_LENGTH."_s.arg(name).toStdString());
}

void closeWithDate(QFile &target, quint32 seconds)
{
    const QDateTime date = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    if (!target.flush() || !target.setFileTime(date, QFileDevice::FileAccessTime) ||
        !target.setFileTime(date, QFileDevice::FileModificationTime))
        throwFileError(target);
    target.close();
    if (target.error() != QFileDevice::NoError)
        throwFileError(target);
}

} // namespace

BackupPlaces::Place BackupManifest::placeOf(const _MbdbRecord &record) const
{
    return places.find(recordFileName(record), isModern);
}

std::optional<QString> BackupManifest::sourceFile(const _MbdbRecord &record) const
{
    const BackupPlaces::Place place = placeOf(record);
    if (place.isAllowed)
        return place.path;
    if (place.isTaken)
        qWarning("%ls is no file of this backup, it is left out", qUtf16Printable(place.path));
    return std::nullopt;
}

QString BackupManifest::damageOf(const _MbdbRecord &record) const
{
    return damageOf(record, placeOf(record));
}

QString BackupManifest::damageOf(const _MbdbRecord &record, const BackupPlaces::Place &place) const
{
    if (!isModern || !isEncrypted || !record.encryptionKey.isPresent())
        return {};
    QByteArray key = plainKey(*this, record);
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    if (key.isEmpty())
        return u"the key of the file doesn't open, the backup is damaged"_s;
    const bool isCut = place.isAllowed && place.size % Aes256::blockSize != 0;
    return isCut ? u"the file is cut, the backup is damaged"_s : QString();
}

void BackupManifest::extractFile(const _ManifestNode *node, const QString &destination, void *userData,
                                 ProgressCallback callback) const
{
    const BackupPlaces::Place place = placeOf(node->record);
    if (const QString damage = damageOf(node->record, place); !damage.isEmpty()) {
        const QString text = u"%1: %2. Make the backup again."_s;
        throw std::runtime_error(text.arg(node->record.path.text(), damage).toStdString());
    }
    if (place.isTaken && !place.isAllowed)
        throw std::runtime_error(u"%1 is no file of this backup"_s.arg(place.path).toStdString());
    QFile source(place.path);
    openForReading(source);
    const std::unique_ptr<FileCipher> cipher = cipherOf(*this, node->record);
    if (cipher && source.size() % Aes256::blockSize != 0)
        throwOddLength(recordFileName(node->record));
    QFile target(destination);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        throwFileError(target);
    auto halfFileGoes = qScopeGuard([&] { target.remove(); });
    const auto report = [=](qint64 total, qint64 done) { callback(total, done, userData); };
    copyFile(source, target, cipher.get(), callback ? CopyReport(report) : CopyReport());
    closeWithDate(target, node->record.mtime);
    halfFileGoes.dismiss();
}

void BackupManifest::extractFile(const _ManifestNode *node, const QString &destination,
                                 JobProgress *progress) const
{
    extractFile(node, destination, progress, progress ? reportBlock : nullptr);
}
