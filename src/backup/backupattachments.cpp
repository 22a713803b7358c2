#include "backup/backupattachments.h"

#include "app/filetools.h"
#include "app/freespace.h"
#include "backup/backupfiles.h"
#include "backup/extractmessages.h"

#include <QFileInfo>
#include <QTemporaryFile>

using namespace Qt::StringLiterals;

/// What all files of one backup need. It holds the keys: they are wiped when the last file goes.
struct BackupAttachments::Shared {
    QSharedPointer<const BackupManifest> manifest;
    DecipheredFiles copies;
};

namespace
{

constexpr auto messagesOnPhone = "Library/SMS"_L1;
constexpr auto attachmentsOnPhone = "Library/SMS/Attachments"_L1;
constexpr qint64 mostPadding = 16; // bytes

class EncipheredFile final : public HiddenFile
{
public:
    EncipheredFile(const std::shared_ptr<BackupAttachments::Shared> &backup, const _ManifestNode &file)
        : shared(backup), node(file)
    {
    }

    QString path() const override
    {
        return shared->manifest->sourceFile(node.record).value_or(recordFileName(node.record));
    }
    qint64 size() const override;
    QString readableCopy(bool isMade, JobProgress *progress) const override;
    void copyTo(const QString &target, JobProgress *progress) const override;

private:
    QString copyId() const;

    std::shared_ptr<BackupAttachments::Shared> shared;
    const _ManifestNode &node;
};

// The listed length is wrong now and then; what is enciphered is at most a block longer than its content.
qint64 EncipheredFile::size() const
{
    const qint64 enciphered = QFileInfo(path()).size();
    const auto listed = qint64(node.record.fileLength);
    return listed <= enciphered && listed >= enciphered - mostPadding ? listed : enciphered;
}

/// Another for a file that has changed.
QString EncipheredFile::copyId() const
{
    const _MbdbRecord &record = node.record;
    return md5Hex(u"%1 %2 %3"_s.arg(recordFileName(record), QString::number(record.mtime),
                                    QString::fromLatin1(record.encryptionKey.bytes.toHex())));
}

QString EncipheredFile::readableCopy(bool isMade, JobProgress *progress) const
{
    const QString id = copyId();
    const QString safe = safeFileName(node.name); // its suffix tells other programs what it is
    const QString name = isPlainComponent(safe) ? safe : u"attachment"_s;
    const QString known = shared->copies.find(id, name);
    if (!known.isEmpty() || !isMade)
        return known;
    return shared->copies.add(id, name, [&](const QString &copy) {
        checkFreeSpaceThrow(QFileInfo(copy).path(), size());
        shared->manifest->extractFile(&node, copy, progress);
    });
}

void EncipheredFile::copyTo(const QString &target, JobProgress *progress) const
{
    QTemporaryFile half(QFileInfo(target).absolutePath() + u"/half-XXXXXX"_s);
    if (!half.open())
        throwFileError(half);
    half.close();
    shared->manifest->extractFile(&node, half.fileName(), progress);
    if (!half.rename(target))
        throwFileError(half);
    half.setAutoRemove(false);
}

} // namespace

BackupAttachments::BackupAttachments(const QSharedPointer<const BackupManifest> &manifest,
                                     const QDir &cacheDir)
    : shared(new Shared{manifest, DecipheredFiles(QDir(cacheDir.absoluteFilePath(u"deciphered"_s)))})
    , messageFolder(messagesOnPhone)
    , attachmentFolder(attachmentsOnPhone)
    , inCache(cacheDir)
{
    const _ManifestNode *messages = findMessageFolders(*manifest).sms;
    if (!messages)
        return;
    messageFolder = messages->record.path.text();
    attachmentFolder = messageFolder + u"/Attachments"_s;
    for (const _ManifestNode *child : messages->children) {
        if (child->name.compare("Attachments"_L1, Qt::CaseInsensitive) == 0)
            attachmentFolder = child->record.path.text();
    }
}

LocalFile BackupAttachments::find(const QString &filename)
{
    const _ManifestNode *node = nodeOf(filename);
    const std::optional<QString> source = node ? shared->manifest->sourceFile(node->record) : std::nullopt;
    if (!source)
        return inCache.find(filename);
    const QString damage = shared->manifest->damageOf(node->record);
    if (!damage.isEmpty()) {
        qWarning("%ls is left out: %ls", qUtf16Printable(filename), qUtf16Printable(damage));
        return inCache.find(filename);
    }
    const bool isEnciphered = shared->manifest->isEncrypted && node->record.encryptionKey.isPresent();
    return isEnciphered ? LocalFile(std::make_shared<EncipheredFile>(shared, *node)) : LocalFile(*source);
}

const _ManifestNode *BackupAttachments::nodeOf(const QString &filename) const
{
    const QString path = listedPath(pathInHome(filename));
    if (path.isEmpty())
        return nullptr;
    const BackupManifest &manifest = *shared->manifest;
    const _ManifestNode *node = manifest.findFile(u"MediaDomain"_s, path);
    return node ? node : manifest.findFile(u"HomeDomain"_s, path);
}

/// `path` of the phone as the backup spells its folders.
QString BackupAttachments::listedPath(const QString &path) const
{
    if (path.startsWith(attachmentsOnPhone))
        return attachmentFolder + path.sliced(attachmentsOnPhone.size());
    return path.startsWith(messagesOnPhone) ? messageFolder + path.sliced(messagesOnPhone.size()) : path;
}
