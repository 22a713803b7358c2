#include "backup/manifestwriter.h"

#include "backup/backupfiles.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr QByteArrayView header("mbdb\x05\x00", 6);
constexpr quint16 folderMode = 0x41C0; // a folder that only its owner opens
constexpr quint16 fileMode = 0x81A4;   // a file that all read
constexpr quint32 mobileUser = 501;
constexpr quint8 protectionOfNewFiles = 4;
constexpr qsizetype longestString = 0xFFFE; // bytes
constexpr qsizetype writeSize = 1 << 20;    // bytes

_MbdbString mbdbString(const QByteArray &bytes)
{
    if (bytes.size() > longestString)
        throw std::runtime_error("a name of " + std::to_string(bytes.size()) +
                                 " bytes has no place in the list of a backup's files");
    return {quint16(bytes.size()), bytes};
}

/// Makes records with inodes of their own.
class RecordMaker
{
public:
    explicit RecordMaker(const QHash<QString, _MbdbRecord> &records)
    {
        qint32 highest = 0;
        for (const _MbdbRecord &record : records)
            highest = std::max(highest, qint32(record.inodeLow));
        last = quint32(highest);
    }

    _MbdbRecord make(const QString &domain, const QString &path, quint16 mode)
    {
        _MbdbRecord record;
        record.domain = mbdbString(domain.toUtf8());
        record.path = mbdbString(path.toUtf8());
        record.mode = mode;
        record.inodeLow = ++last;
        record.userId = record.groupId = mobileUser;
        return record;
    }

private:
    quint32 last;
};

void addFolders(QHash<QString, _MbdbRecord> &records, const AddedFile &file, RecordMaker &maker)
{
    for (qsizetype i = file.path.lastIndexOf(u'/'); i > 0; i = file.path.lastIndexOf(u'/', i - 1)) {
        const QString folder = file.path.left(i);
        const QString key = mbdbFileName(file.domain, folder);
        if (records.contains(key))
            return;
        _MbdbRecord record = maker.make(file.domain, folder, folderMode);
        setFileDates(record, file.localPath);
        records.insert(key, record);
    }
}

void addFile(QHash<QString, _MbdbRecord> &records, const AddedFile &file, RecordMaker &maker)
{
    const QString key = mbdbFileName(file.domain, file.path);
    if (!records.contains(key)) {
        _MbdbRecord record = maker.make(file.domain, file.path, fileMode);
        record.fileLength = quint64(QFileInfo(file.localPath).size());
        record.protectionClass = protectionOfNewFiles;
        records.insert(key, record);
    }
    _MbdbRecord &record = records[key];
    setDataHash(record, fileSha1(file.localPath));
    setFileDates(record, file.localPath);
}

/// Collects what a manifest is made of and hands it to the file in large pieces.
class RecordWriter
{
public:
    explicit RecordWriter(const QString &path) : file(path)
    {
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            throwFileError(file);
        bytes.reserve(writeSize + writeSize / 4);
        bytes += header;
    }

    void write(const _MbdbRecord &record);
    void finish()
    {
        flush();
        file.close();
    }

private:
    template <typename Integer>
    void integer(Integer value)
    {
        std::array<char, sizeof value> buffer;
        qToBigEndian(value, buffer.data());
        bytes.append(buffer.data(), buffer.size());
    }
    void string(const _MbdbString &value);
    void flush()
    {
        if (file.write(bytes) != bytes.size())
            throwFileError(file);
        bytes.resize(0);
    }

    QFile file;
    QByteArray bytes;
};

// A text that its manifest cut short goes out with the length that it has: the length as read would swallow
// what follows.
void RecordWriter::string(const _MbdbString &value)
{
    if (!value.isPresent()) {
        integer(value.length);
        return;
    }
    integer(quint16(value.bytes.size()));
    bytes += value.bytes;
}

void RecordWriter::write(const _MbdbRecord &record)
{
    string(record.domain);
    string(record.path);
    string(record.linkTarget);
    string(record.dataHash);
    string(record.encryptionKey);
    integer(record.mode);
    integer(record.inodeHigh);
    integer(record.inodeLow);
    integer(record.userId);
    integer(record.groupId);
    integer(record.mtime);
    integer(record.atime);
    integer(record.ctime);
    integer(record.fileLength);
    integer(record.protectionClass);
    integer(quint8(record.properties.size()));
    for (const _MbdbProperty &property : record.properties) {
        string(property.name);
        string(property.value);
    }
    if (bytes.size() >= writeSize)
        flush();
}

struct SortedRecord {
    QString domain;
    QString path;
    const _MbdbRecord *record;
};

std::vector<SortedRecord> sorted(const QHash<QString, _MbdbRecord> &records)
{
    std::vector<SortedRecord> list;
    list.reserve(size_t(records.size()));
    for (const _MbdbRecord &record : records)
        list.push_back({record.domain.text(), record.path.text(), &record});
    std::sort(list.begin(), list.end(), [](const SortedRecord &a, const SortedRecord &b) {
        return a.domain != b.domain ? a.domain < b.domain : a.path < b.path;
    });
    return list;
}

quint32 seconds(const QDateTime &date)
{
    return quint32(date.toSecsSinceEpoch());
}

} // namespace

void addBackupFiles(QHash<QString, _MbdbRecord> &records, const QList<AddedFile> &files)
{
    RecordMaker maker(records);
    for (const AddedFile &file : files) {
        addFolders(records, file, maker);
        addFile(records, file, maker);
    }
}

void addBackupFile(QHash<QString, _MbdbRecord> &records, const QString &localPath, const QString &domain,
                   const QString &path)
{
    addBackupFiles(records, {{localPath, domain, path}});
}

void setFileDates(_MbdbRecord &record, const QString &localPath)
{
    const QFileInfo file(localPath);
    record.mtime = record.atime = seconds(file.lastModified());
    const QDateTime born = file.birthTime(); // not every file system knows it
    record.ctime = born.isValid() ? seconds(born) : record.mtime;
}

QByteArray fileSha1(const QString &path)
{
    QFile file(path);
    QCryptographicHash sha1(QCryptographicHash::Sha1);
    return file.open(QIODevice::ReadOnly) && sha1.addData(&file) ? sha1.result() : QByteArray();
}

void setDataHash(_MbdbRecord &record, const QByteArray &bytes)
{
    record.dataHash = mbdbString(bytes);
}

void writeMbdbFile(const QHash<QString, _MbdbRecord> &records, const QString &path)
{
    RecordWriter writer(path);
    for (const SortedRecord &entry : sorted(records))
        writer.write(*entry.record);
    writer.finish();
}
