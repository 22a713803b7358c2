#include "backupfiles.h"
#include "backupmanifest.h"
#include "keybag.h"

#include <QFileInfo>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace
{

constexpr int blockSize = 8192; // bytes
constexpr qsizetype keyPrefixSize = 4;

/// The cipher stream of one file.
class FileCipher
{
public:
    FileCipher(const _MbdbRecord &fileRecord, Aes256 fileAes) : record(fileRecord), aes(std::move(fileAes)) {}

    /// The plain bytes of the next block. `done` counts the bytes read so far, these included.
    QByteArray plainBlock(const char *data, int length, qint64 done)
    {
        QByteArray plain = decryptBlock(aes, data, length, iv);
        if (plain.isEmpty()) {
            const QString text = u"%1, POLARSSL_ERR_AES_INVALID_INPUT_LENGTH."_s;
            throw std::runtime_error(text.arg(recordFileName(record)).toStdString());
        }
        // Padding goes by the length that the record names. A whole block of it stays.
        const quint32 excess = quint32(done) - quint32(record.fileLength);
        if (excess >= 1 && excess <= 15)
            plain.chop(excess);
        return plain;
    }

private:
    const _MbdbRecord &record;
    Aes256 aes;
    unsigned char iv[16] = {};
};

/// Nothing when the file is to be copied as it lies: the backup is plain, or the file has no key.
std::optional<FileCipher> cipherOf(const BackupManifest &manifest, const _MbdbRecord &record)
{
    if (!manifest.isEncrypted)
        return std::nullopt;
    QByteArray key = fileKey(manifest.keyBagClasses, qint8(record.protectionClass),
                             record.encryptionKey.bytes.mid(keyPrefixSize));
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    std::optional<Aes256> aes = Aes256::forDecryption(key);
    if (!aes)
        return std::nullopt;
    return FileCipher(record, std::move(*aes));
}

void writeAll(QFile &target, const char *data, qint64 length)
{
    if (target.write(data, length) != length)
        throwFileError(target);
}

void copyBlocks(QFile &source, QFile &target, std::optional<FileCipher> &cipher, void *userData,
                ProgressCallback callback)
{
    const qint64 total = source.size();
    qint64 done = 0;
    char block[blockSize];
    while (const qint64 length = source.read(block, blockSize)) {
        if (length < 0)
            throwFileError(source);
        done += length;
        if (cipher) {
            const QByteArray plain = cipher->plainBlock(block, int(length), done);
            writeAll(target, plain.constData(), plain.size());
        } else {
            writeAll(target, block, length);
        }
        if (callback)
            callback(total, done, userData);
    }
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

std::optional<QString> BackupManifest::sourceFile(const _MbdbRecord &record) const
{
    const QFileInfo file(backupDir.absoluteFilePath(recordFileName(record)));
    if (!file.exists())
        return std::nullopt;
    const bool isInside =
        !file.isSymLink() || QFileInfo(file.canonicalFilePath()).absolutePath() == backupDir.canonicalPath();
    if (file.isFile() && isInside)
        return file.absoluteFilePath();
    qWarning("%ls is no file of this backup, it is left out", qUtf16Printable(file.absoluteFilePath()));
    return std::nullopt;
}

void BackupManifest::extractFile(const _ManifestNode *node, const QString &destination, void *userData,
                                 ProgressCallback callback) const
{
    const QString path = backupDir.absoluteFilePath(recordFileName(node->record));
    if (QFileInfo::exists(path) && !sourceFile(node->record))
        throw std::runtime_error(u"%1 is no file of this backup"_s.arg(path).toStdString());
    QFile source(path);
    openForReading(source);
    QFile target(destination);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        throwFileError(target);
    auto halfFileGoes = qScopeGuard([&] { target.remove(); });
    std::optional<FileCipher> cipher = cipherOf(*this, node->record);
    copyBlocks(source, target, cipher, userData, callback);
    closeWithDate(target, node->record.mtime);
    halfFileGoes.dismiss();
}
