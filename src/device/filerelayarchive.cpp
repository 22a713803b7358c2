#include "filerelay.h"

#include "filetools.h"
#include "jobprogress.h"

#include <QLocale>
#include <QRegularExpression>

#include <archive.h>
#include <archive_entry.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int chunkSize = 0x80000; // bytes

// Bits of an entry's type. Only they count: a link has the one of a file and comes out as an empty file.
constexpr unsigned directoryBit = 0x4000;
constexpr unsigned fileBit = 0x8000;

struct CloseReader {
    void operator()(archive *reader) const noexcept { archive_read_free(reader); }
};
using ArchiveReader = std::unique_ptr<archive, CloseReader>;

ArchiveReader openArchive(const QString &path)
{
    ArchiveReader reader(archive_read_new());
    // What phones send and its nearest kin. Others of the library start programs, or read files of this
    // computer that the archive names.
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_filter_bzip2(reader.get());
    archive_read_support_filter_xz(reader.get());
    archive_read_support_format_cpio(reader.get());
    archive_read_support_format_tar(reader.get());
    const int code = archive_read_open_filename(reader.get(), QFile::encodeName(path).constData(), chunkSize);
    if (code != ARCHIVE_OK)
        throw std::runtime_error(u"open %1(%2) error."_s.arg(path).arg(code).toStdString());
    return reader;
}

/// The name of an entry as file systems take it. Some archives end the names of folders with a slash.
QString entryName(archive_entry *entry)
{
    static const QRegularExpression ends(u"^\\./|/+$"_s);
    static const QRegularExpression forbidden(u"[\\:*?\"<>|]"_s);
    const char *utf8 = archive_entry_pathname_utf8(entry);
    return QString::fromUtf8(utf8 ? utf8 : archive_entry_pathname(entry)).remove(ends).remove(forbidden);
}

[[noreturn]] void failWith(const QString &text, const QFile &file)
{
    throw std::runtime_error(text.arg(file.fileName(), file.errorString()).toStdString());
}

void copyData(archive *reader, qint64 size, QFile &file, QByteArray &chunk, JobProgress &progress)
{
    qint64 written = 0;
    while (true) {
        throwIfCancelled(progress);
        progress.updateProgress({}, -1, u"Extracted: %L1KB / %L2KB"_s.arg(written).arg(size));
        const la_ssize_t count = archive_read_data(reader, chunk.data(), size_t(chunk.size()));
        if (count <= 0)
            return;
        if (file.write(chunk.constData(), count) != count)
            failWith(u"write %1 error. %2"_s, file);
        written += count;
    }
}

void extractFile(archive *reader, archive_entry *entry, const QString &target, QByteArray &chunk,
                 JobProgress &progress)
{
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly))
        failWith(u"create %1 error. %2"_s, file);
    copyData(reader, archive_entry_size(entry), file, chunk, progress);
    if (!file.flush())
        failWith(u"write %1 error. %2"_s, file);
    file.setFileTime(QDateTime::fromSecsSinceEpoch(archive_entry_atime(entry)), QFile::FileAccessTime);
    file.setFileTime(QDateTime::fromSecsSinceEpoch(archive_entry_mtime(entry)), QFile::FileModificationTime);
}

void extractEntry(archive *reader, archive_entry *entry, const QDir &folder, QByteArray &chunk,
                  JobProgress &progress)
{
    const QString name = entryName(entry);
    const unsigned type = archive_entry_filetype(entry);
    progress.updateProgress(u"Extracting %1"_s.arg(name.section(u'/', -1)), -1, {});
    const std::optional<QString> target = pathBelow(folder, name);
    if (!target) {
        qWarning("the phone's archive names a file that leaves its folder, it is left out: %ls",
                 qUtf16Printable(name));
        return;
    }
    if (type & directoryBit) {
        if (!QFileInfo::exists(*target))
            QDir().mkpath(*target);
    } else if (type & fileBit) {
        extractFile(reader, entry, *target, chunk, progress);
    }
}

} // namespace

void extractArchive(const QString &archivePath, const QDir &folder, JobProgress &progress)
{
    const ArchiveReader reader = openArchive(archivePath);
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    archive_entry *entry = nullptr;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        throwIfCancelled(progress);
        extractEntry(reader.get(), entry, folder, chunk, progress);
    }
}
