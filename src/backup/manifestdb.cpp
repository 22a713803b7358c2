#include "backup/manifestdb.h"

#include "app/sqliteheader.h"
#include "backup/backupfiles.h"
#include "backup/mbfile.h"
#include "sqlite_qt/untoucheddb.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 mostRows = 4'000'000;
constexpr qint64 mostTextBytes = 1024 * 1024 * 1024;
constexpr qsizetype longestPath = 4096;
constexpr qsizetype largestArchive = 16 * 1024 * 1024;

constexpr quint16 typeBits = 0170000;
constexpr quint16 folderType = 0040000;

/// What the column "flags" says. Other values occur; the mode then tells.
enum RowFlags { File = 1, Folder = 2, Link = 4 };

// Without a way out of the loop, so that the compiler can take many bytes at once.
bool isFileId(QByteArrayView name)
{
    int digits = 0;
    for (const char c : name)
        digits += (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    return name.size() == 40 && digits == 40;
}

/// Turns rows into records.
class RowReader
{
public:
    RowReader(const Sqlite3Cursor &rows, ManifestList &target, TextArena &arena)
        : cursor(rows), list(target), texts(arena)
    {
    }

    void takeRow();
    void logOddities(const QString &path) const;

private:
    _MbdbString kept(QByteArrayView text) { return {quint16(text.size()), bytesOf(texts.keep(text))}; }
    static QByteArray bytesOf(QByteArrayView text)
    {
        return QByteArray::fromRawData(text.data(), text.size());
    }
    void fill(_MbdbRecord &record, const MbFile &file, int flags);
    void setDomain(_MbdbRecord &record, QByteArrayView domain);

    const Sqlite3Cursor &cursor;
    ManifestList &list;
    TextArena &texts;
    _MbdbString lastDomain;
    int leftOut = 0;
    int undescribed = 0;
};

// Neighbours are mostly of one domain.
void RowReader::setDomain(_MbdbRecord &record, QByteArrayView domain)
{
    if (lastDomain.bytes != domain)
        lastDomain = kept(domain);
    record.domain = lastDomain;
}

void RowReader::fill(_MbdbRecord &record, const MbFile &file, int flags)
{
    const bool isKnown = flags == File || flags == Folder || flags == Link;
    const bool isFolder = isKnown ? flags == Folder : (file.mode & typeBits) == folderType;
    record.isFile = !isFolder && flags != Link;
    record.fileLength = isFolder ? 0 : file.size;
    record.mode = file.mode;
    record.inodeHigh = quint32(file.inode >> 32);
    record.inodeLow = quint32(file.inode);
    record.userId = file.userId;
    record.groupId = file.groupId;
    record.mtime = file.lastModified;
    record.ctime = file.lastStatusChange;
    record.atime = file.birth;
    record.protectionClass = file.protectionClass;
    if (!file.target.isEmpty() && file.target.size() <= longestPath)
        record.linkTarget = kept(file.target);
    if (!file.encryptionKey.isEmpty() && file.encryptionKey.size() <= longestPath)
        record.encryptionKey = kept(file.encryptionKey);
    if (!file.digest.isEmpty() && file.digest.size() <= longestPath)
        record.dataHash = kept(file.digest);
}

void RowReader::takeRow()
{
    enum { FileId, Domain, Path, Flags, Archive };
    const QByteArrayView domain = cursor.getUtf8(Domain);
    const QByteArrayView path = cursor.getUtf8(Path);
    if (domain.isEmpty() || domain.size() > longestPath || path.size() > longestPath) {
        ++leftOut;
        return;
    }
    _MbdbRecord record;
    setDomain(record, domain);
    record.path = kept(path);
    if (const QByteArrayView fileId = cursor.getUtf8(FileId); isFileId(fileId))
        record.fileId = bytesOf(texts.keep(fileId));
    const QByteArrayView archive = cursor.getBytes(Archive);
    const std::optional<MbFile> file = archive.size() <= largestArchive ? readMbFile(archive) : std::nullopt;
    if (!file)
        ++undescribed;
    fill(record, file.value_or(MbFile()), cursor.getInt(Flags));
    list.add(std::move(record));
}

void RowReader::logOddities(const QString &path) const
{
    if (leftOut > 0 || undescribed > 0)
        qWarning("%ls: %d entries name no file and are left out, %d are without a description",
                 qUtf16Printable(path), leftOut, undescribed);
}

// A view of that name could go on for ever.
void checkIsTable(Sqlite3DB &db)
{
    Sqlite3Cursor table =
        db.queryThrow(Sqlite3Sql("select rootpage from sqlite_master where name='Files' and type='table'"));
    if (!table.moveNextThrow() || table.getInt64(0) <= 0)
        throw std::runtime_error("there is no table of files");
}

} // namespace

bool hasManifestDb(const QString &folder)
{
    return QDir(folder).exists(u"Manifest.db"_s);
}

bool hasPlainManifestDb(const QString &folder)
{
    const QFileInfo list(QDir(folder).filePath(u"Manifest.db"_s));
    return list.isFile() && list.isReadable() && isDatabase(list.filePath());
}

bool isDatabase(const QString &path)
{
    QFile file(path);
    openForReading(file);
    return file.read(sqliteFileHeader.size()) == sqliteFileHeader;
}

void readManifestDb(const QString &path, ManifestList &list, TextArena &texts)
{
    UntouchedDb file(path);
    checkIsTable(file.db);
    Sqlite3Cursor cursor =
        file.db.queryThrow(Sqlite3Sql("select fileID, domain, relativePath, flags, file from Files"));
    RowReader reader(cursor, list, texts);
    for (qint64 rows = 0; cursor.moveNextThrow(); ++rows) {
        if (rows >= mostRows || texts.size() > mostTextBytes)
            throw std::runtime_error("there are more files than a phone holds");
        reader.takeRow();
    }
    reader.logOddities(path);
}
