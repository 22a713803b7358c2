#include "device/filerelay.h"

#include "app/closer.h"
#include "app/filetools.h"
#include "app/jobprogress.h"
#include "backup/cachefilenames.h"
#include "device/cpiogate.h"
#include "sqlite_qt/databasefiles.h"

#include <QLocale>
#include <QRegularExpression>
#include <QSet>

#include <archive.h>
#include <archive_entry.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int archiveBlockSize = 0x80000; // bytes

// Bits of an entry's type. Only they count: a link has the one of a file and comes out as an empty file.
constexpr unsigned directoryBit = 0x4000;
constexpr unsigned fileBit = 0x8000;

using ArchiveReader = std::unique_ptr<archive, Closer<archive_read_free>>;

/// Unpacks what `path` holds, whatever that is. Of the ways to pack, these are the usual one and one that
/// takes no more memory than it: others keep gigabytes if the file says so, start programs, or read files of
/// this computer that the archive names.
ArchiveReader openPacked(const QString &path)
{
    ArchiveReader reader(archive_read_new());
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_filter_bzip2(reader.get());
    archive_read_support_format_raw(reader.get());
    archive_read_support_format_empty(reader.get()); // a phone may have nothing to hand out
    const int code =
        archive_read_open_filename(reader.get(), QFile::encodeName(path).constData(), archiveBlockSize);
    if (code != ARCHIVE_OK)
        throw std::runtime_error(u"open %1(%2) error."_s.arg(path).arg(code).toStdString());
    archive_entry *all = nullptr;
    archive_read_next_header(reader.get(), &all);
    return reader;
}

la_ssize_t passOn(archive *, void *gate, const void **bytes)
{
    const QByteArrayView some = static_cast<CpioGate *>(gate)->next();
    *bytes = some.data();
    return some.size();
}

/// What phones send and its nearest kin.
ArchiveReader openArchive(CpioGate &gate)
{
    ArchiveReader reader(archive_read_new());
    archive_read_support_format_cpio(reader.get());
    archive_read_support_format_tar(reader.get());
    archive_read_open(reader.get(), &gate, nullptr, passOn, nullptr);
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

/// Takes an archive apart, entry by entry.
class Extraction
{
public:
    Extraction(archive *archiveReader, const QDir &target, JobProgress &jobProgress)
        : reader(archiveReader)
        , folder(target)
        , progress(jobProgress)
        , chunk(archiveBlockSize, Qt::Uninitialized)
    {
    }

    void extract(archive_entry *entry);

private:
    void extractFile(archive_entry *entry, const QString &target);
    void copyData(qint64 size, QFile &file);
    void removeOldCompanions(const QString &database) const;

    archive *reader;
    QDir folder;
    JobProgress &progress;
    QByteArray chunk;
    QSet<QString> written; ///< paths
};

void Extraction::extract(archive_entry *entry)
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
        extractFile(entry, *target);
    }
}

void Extraction::extractFile(archive_entry *entry, const QString &target)
{
    if (isReadDatabase(QFileInfo(target).fileName()))
        removeOldCompanions(target);
    written.insert(target);
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly))
        throwFileError(u"create %1 error. %2"_s, file);
    copyData(archive_entry_size(entry), file);
    if (!file.flush())
        throwFileError(u"write %1 error. %2"_s, file);
    file.setFileTime(QDateTime::fromSecsSinceEpoch(archive_entry_atime(entry)), QFile::FileAccessTime);
    file.setFileTime(QDateTime::fromSecsSinceEpoch(archive_entry_mtime(entry)), QFile::FileModificationTime);
}

void Extraction::copyData(qint64 size, QFile &file)
{
    qint64 done = 0;
    while (true) {
        throwIfCancelled(progress);
        progress.updateProgress({}, -1, u"Extracted: %L1KB / %L2KB"_s.arg(done).arg(size));
        const la_ssize_t count = archive_read_data(reader, chunk.data(), size_t(chunk.size()));
        if (count <= 0)
            return;
        if (file.write(chunk.constData(), count) != count)
            throwFileError(u"write %1 error. %2"_s, file);
        done += count;
    }
}

// A log that an earlier run left, laid over the new database, would give wrong messages.
void Extraction::removeOldCompanions(const QString &database) const
{
    for (const QLatin1StringView suffix : companionSuffixes) {
        const QString companion = database + suffix;
        if (!written.contains(companion))
            QFile::remove(companion);
    }
}

} // namespace

bool extractArchive(const QString &archivePath, const QDir &folder, JobProgress &progress)
{
    const ArchiveReader packed = openPacked(archivePath);
    CpioGate gate(packed.get());
    const ArchiveReader reader = openArchive(gate);
    Extraction extraction(reader.get(), folder, progress);
    archive_entry *entry = nullptr;
    int code = ARCHIVE_OK;
    while ((code = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        throwIfCancelled(progress);
        extraction.extract(entry);
    }
    return code == ARCHIVE_EOF && !gate.isCut();
}
