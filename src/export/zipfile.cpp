// Zip files by libarchive. Encryption is "AE-2" with 256 bits; its salt makes each such file different.

#include "export/zipfile.h"

#include "app/closer.h"
#include "app/disksync.h"
#include "app/filetools.h"
#include "app/jobprogress.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QObject>
#include <QTemporaryDir>

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

using ArchiveReader = std::unique_ptr<archive, Closer<archive_read_free>>;
using ArchiveWriter = std::unique_ptr<archive, Closer<archive_write_free>>;
using ArchiveEntry = std::unique_ptr<archive_entry, Closer<archive_entry_free>>;

constexpr qint64 blockSize = 256 * 1024; // bytes

[[noreturn]] void fail(const QString &path, archive *handle)
{
    throw std::runtime_error(
        u"%1: %2"_s.arg(path, QString::fromUtf8(archive_error_string(handle))).toStdString());
}

void check(int result, const QString &path, archive *handle)
{
    if (result != ARCHIVE_OK)
        fail(path, handle);
}

/// A file to pack, and its name in the archive.
struct PackedFile {
    QString path;
    QString name;
    QDateTime date; ///< invalid where it tells only of this run
};

/// Sorted by name. Links are not followed: they may lead out of the folder.
QList<PackedFile> filesBelow(const QString &source, const QDateTime &since)
{
    const QFileInfo info(source);
    if (info.isFile())
        return {{source, info.fileName(), {}}};
    QList<PackedFile> files;
    for (QDirIterator it(info.absoluteFilePath(), QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                         QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString path = it.next();
        const QDateTime date = it.fileInfo().lastModified();
        files.append({path, info.fileName() + u'/' + QDir(info.absoluteFilePath()).relativeFilePath(path),
                      date < since ? date : QDateTime()});
    }
    std::sort(files.begin(), files.end(),
              [](const PackedFile &a, const PackedFile &b) { return a.name < b.name; });
    return files;
}

ArchiveWriter startZip(const QString &path, const QString &password)
{
    ArchiveWriter zip(archive_write_new());
    check(archive_write_set_format_zip(zip.get()), path, zip.get());
    check(archive_write_set_options(zip.get(), "zip:hdrcharset=UTF-8"), path, zip.get());
    if (!password.isEmpty()) {
        check(archive_write_set_options(zip.get(), "zip:encryption=aes256"), path, zip.get());
        check(archive_write_set_passphrase(zip.get(), password.toUtf8().constData()), path, zip.get());
    }
    check(archive_write_open_filename(zip.get(), QFile::encodeName(path).constData()), path, zip.get());
    return zip;
}

void addFile(archive *zip, const QString &zipPath, const PackedFile &packed, JobProgress &progress)
{
    QFile file(packed.path);
    if (!file.open(QIODevice::ReadOnly))
        throwFileError(u"%1: %2"_s, file);
    const ArchiveEntry entry(archive_entry_new());
    archive_entry_set_pathname_utf8(entry.get(), packed.name.toUtf8().constData());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_size(entry.get(), file.size());
    if (packed.date.isValid())
        archive_entry_set_mtime(entry.get(), packed.date.toSecsSinceEpoch(), 0);
    check(archive_write_header(zip, entry.get()), zipPath, zip);
    qint64 rest = file.size();
    while (rest > 0) {
        throwIfCancelled(progress);
        const QByteArray block = file.read(std::min(blockSize, rest));
        if (block.isEmpty())
            throwFileError(u"%1: %2"_s, file);
        if (archive_write_data(zip, block.constData(), size_t(block.size())) != block.size())
            fail(zipPath, zip);
        rest -= block.size();
    }
    check(archive_write_finish_entry(zip), zipPath, zip);
}

} // namespace

void packZip(const QString &source, const QString &zipPath, const QString &password, const QDateTime &since,
             JobProgress &progress)
{
    const QFileInfo target(zipPath);
    if (target.exists() && !target.isFile())
        throw std::runtime_error(u"%1: not a regular file."_s.arg(zipPath).toStdString());
    const QTemporaryDir folder(target.absolutePath() + u"/.zip-XXXXXX"_s);
    if (!folder.isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(zipPath, folder.errorString()).toStdString());
    const QString made = folder.filePath(u"packed.zip"_s);
    const ArchiveWriter zip = startZip(made, password);
    workThrough(filesBelow(source, since), progress, QObject::tr("IDS_PACKING_FILES_%1_OF_%2"),
                [&](const PackedFile &file) { addFile(zip.get(), zipPath, file, progress); });
    check(archive_write_close(zip.get()), zipPath, zip.get());
    syncToDisk(made);
    renameThrow(made, zipPath);
}

void readZip(const QString &path, const std::function<void(const QString &name, QByteArrayView block)> &visit)
{
    const ArchiveReader zip(archive_read_new());
    check(archive_read_support_format_zip(zip.get()), path, zip.get());
    check(archive_read_open_filename(zip.get(), QFile::encodeName(path).constData(), size_t(blockSize)), path,
          zip.get());
    archive_entry *entry = nullptr; // the archive's
    int result = ARCHIVE_OK;
    while ((result = archive_read_next_header(zip.get(), &entry)) == ARCHIVE_OK) {
        const QString name = QString::fromUtf8(archive_entry_pathname(entry));
        const void *bytes = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        while ((result = archive_read_data_block(zip.get(), &bytes, &size, &offset)) == ARCHIVE_OK)
            visit(name, QByteArrayView(static_cast<const char *>(bytes), qsizetype(size)));
        if (result != ARCHIVE_EOF)
            fail(path, zip.get());
    }
    if (result != ARCHIVE_EOF)
        fail(path, zip.get());
}
