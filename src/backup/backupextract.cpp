#include "backup/backupfiles.h"
#include "backup/backupmanifest.h"
#include "backup/filecipher.h"
#include "backup/filecopy.h"
#include "backup/keys/keybag.h"
#include "backup/keys/wipe.h"

#include <QFileInfo>
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

/// Where the file of `record` lies, or would lie if it were there. Newer backups sort their files into
/// folders named after the first two digits, and an unfinished one has some in "Snapshot".
QString listedPlace(const BackupManifest &manifest, const _MbdbRecord &record)
{
    const QString name = recordFileName(record);
    if (!manifest.isModern)
        return manifest.backupDir.absoluteFilePath(name);
    const QString sorted = name.first(2) + u'/' + name;
    const QStringList places{sorted, name, u"Snapshot/"_s + sorted, u"Snapshot/"_s + name};
    for (const QString &place : places) {
        const QString path = manifest.backupDir.absoluteFilePath(place);
        if (QFileInfo(path).isFile())
            return path;
    }
    return manifest.backupDir.absoluteFilePath(sorted);
}

/// Whether no link leads out of the backup.
bool isInside(const BackupManifest &manifest, const QFileInfo &file)
{
    const QString root = manifest.backupDir.canonicalPath();
    if (manifest.isModern)
        return file.canonicalFilePath().startsWith(root + u'/');
    return !file.isSymLink() || QFileInfo(file.canonicalFilePath()).absolutePath() == root;
}

} // namespace

std::optional<QString> BackupManifest::sourceFile(const _MbdbRecord &record) const
{
    const QFileInfo file(listedPlace(*this, record));
    if (!file.exists())
        return std::nullopt;
    if (file.isFile() && isInside(*this, file))
        return file.absoluteFilePath();
    qWarning("%ls is no file of this backup, it is left out", qUtf16Printable(file.absoluteFilePath()));
    return std::nullopt;
}

QString BackupManifest::damageOf(const _MbdbRecord &record) const
{
    if (!isModern || !isEncrypted || !record.encryptionKey.isPresent())
        return {};
    QByteArray key = plainKey(*this, record);
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    if (key.isEmpty())
        return u"the key of the file doesn't open, the backup is damaged"_s;
    const std::optional<QString> source = sourceFile(record);
    const bool isCut = source && QFileInfo(*source).size() % Aes256::blockSize != 0;
    return isCut ? u"the file is cut, the backup is damaged"_s : QString();
}

void BackupManifest::extractFile(const _ManifestNode *node, const QString &destination, void *userData,
                                 ProgressCallback callback) const
{
    if (const QString damage = damageOf(node->record); !damage.isEmpty()) {
        const QString text = u"%1: %2. Make the backup again."_s;
        throw std::runtime_error(text.arg(node->record.path.text(), damage).toStdString());
    }
    const QString path = listedPlace(*this, node->record);
    if (QFileInfo::exists(path) && !sourceFile(node->record))
        throw std::runtime_error(u"%1 is no file of this backup"_s.arg(path).toStdString());
    QFile source(path);
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
