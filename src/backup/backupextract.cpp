#include "backup/backupfiles.h"
#include "backup/backupmanifest.h"
#include "backup/keys/keybag.h"
#include "backup/keys/wipe.h"
#include "backup/filecipher.h"

#include <QFileInfo>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace
{

constexpr int copyBlockSize = 8192; // bytes
constexpr qsizetype keyPrefixSize = 4;
constexpr qint64 cipherBlock = 16; // bytes

/// The cipher stream of one file.
class FileCipher
{
public:
    FileCipher() = default;
    FileCipher(const FileCipher &) = delete;
    FileCipher &operator=(const FileCipher &) = delete;
    virtual ~FileCipher() = default;

    /// Plain bytes after the next block; nothing when its length is no multiple of 16. `done` counts the
    /// bytes read so far, these included.
    virtual std::optional<QByteArray> plainBlock(const char *data, int length, qint64 done) = 0;
    /// What is still to come after the last block.
    virtual QByteArray rest() { return {}; }
};

/// Padding goes by the length that the record names. A whole block of it stays.
class LengthCipher final : public FileCipher
{
public:
    LengthCipher(const _MbdbRecord &fileRecord, Aes256 fileAes) : record(fileRecord), aes(std::move(fileAes))
    {
    }

    std::optional<QByteArray> plainBlock(const char *data, int length, qint64 done) override
    {
        QByteArray plain = decryptBlock(aes, data, length, iv);
        if (plain.isEmpty())
            return std::nullopt;
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

/// Padding goes by what stands at the end.
class PaddingCipher final : public FileCipher
{
public:
    PaddingCipher(const _MbdbRecord &fileRecord, Aes256 aes) : record(fileRecord), cipher(std::move(aes)) {}

    std::optional<QByteArray> plainBlock(const char *data, int length, qint64) override
    {
        return cipher.next(data, length);
    }
    QByteArray rest() override { return cipher.last(record.path.text()); }

private:
    const _MbdbRecord &record;
    PaddedCipher cipher;
};

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
    if (aes && manifest.isModern)
        return std::make_unique<PaddingCipher>(record, std::move(*aes));
    if (aes)
        return std::make_unique<LengthCipher>(record, std::move(*aes));
    return nullptr;
}

void writeAll(QFile &target, const char *data, qint64 length)
{
    if (target.write(data, length) != length)
        throwFileError(target);
}

[[noreturn]] void throwOddLength(const QString &name)
{
    throw std::runtime_error(u"%1, POLARSSL_ERR_AES_INVALID_INPUT_LENGTH."_s.arg(name).toStdString());
}

void copyBlocks(QFile &source, QFile &target, FileCipher *cipher, const QString &name, void *userData,
                ProgressCallback callback)
{
    const qint64 total = source.size();
    qint64 done = 0;
    char block[copyBlockSize];
    while (const qint64 length = source.read(block, copyBlockSize)) {
        if (length < 0)
            throwFileError(source);
        done += length;
        if (cipher) {
            const std::optional<QByteArray> plain = cipher->plainBlock(block, int(length), done);
            if (!plain)
                throwOddLength(name);
            writeAll(target, plain->constData(), plain->size());
        } else {
            writeAll(target, block, length);
        }
        if (callback)
            callback(total, done, userData);
    }
    if (cipher) {
        const QByteArray rest = cipher->rest();
        writeAll(target, rest.constData(), rest.size());
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
    const bool isCut = source && QFileInfo(*source).size() % cipherBlock != 0;
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
    QFile target(destination);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        throwFileError(target);
    auto halfFileGoes = qScopeGuard([&] { target.remove(); });
    const std::unique_ptr<FileCipher> cipher = cipherOf(*this, node->record);
    copyBlocks(source, target, cipher.get(), recordFileName(node->record), userData, callback);
    closeWithDate(target, node->record.mtime);
    halfFileGoes.dismiss();
}
