#include "backup/mbdbreader.h"

#include "app/boundedbytes.h"
#include "backup/backupfilename.h"
#include "backup/backupfiles.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype headerSize = 6;
constexpr qint64 largestManifest = 512 * 1024 * 1024; // over two million records

/// Takes records from the bytes of a file, which it names in what it throws.
class RecordReader
{
public:
    RecordReader(QByteArrayView content, const QString &path) : fileName(path), cursor(content)
    {
        if (!cursor.take(headerSize))
            throwCut();
    }

    bool atEnd() const { return cursor.atEnd(); }
    _MbdbRecord next();

private:
    template <typename Integer>
    Integer integer()
    {
        const std::optional<Integer> value = cursor.takeBigEndian<Integer>();
        if (!value)
            throwCut();
        return *value;
    }

    [[noreturn]] void throwCut() const;
    _MbdbString string();
    QList<_MbdbProperty> properties();

    const QString &fileName;
    ByteCursor cursor;
    qsizetype recordStart = 0;
};

void RecordReader::throwCut() const
{
    const QString text =
        u"%1: %2: the list of files is damaged, it breaks off in the entry at byte %3 of %4. "
        "Make the backup again."_s.arg(fileName, QFile().errorString(), QString::number(recordStart),
                                       QString::number(cursor.offset() + cursor.remaining()));
    throw std::runtime_error(text.toStdString());
}

// A string that the file ends in is taken short; only one without a single byte is an error.
_MbdbString RecordReader::string()
{
    _MbdbString result;
    result.length = integer<quint16>();
    if (!result.isPresent())
        return result;
    const QByteArrayView bytes = cursor.takeUpTo(result.length);
    if (bytes.isEmpty())
        throwCut();
    result.bytes = QByteArray::fromRawData(bytes.data(), bytes.size());
    return result;
}

QList<_MbdbProperty> RecordReader::properties()
{
    QList<_MbdbProperty> result;
    // The count is signed: one with the top bit set means none.
    for (int left = integer<qint8>(); left > 0; --left) {
        _MbdbString name = string();
        result.append({std::move(name), string()});
    }
    return result;
}

_MbdbRecord RecordReader::next()
{
    recordStart = cursor.offset();
    _MbdbRecord record;
    record.domain = string();
    record.path = string();
    record.linkTarget = string();
    record.dataHash = string();
    record.encryptionKey = string();
    record.mode = integer<quint16>();
    record.inodeHigh = integer<quint32>();
    record.inodeLow = integer<quint32>();
    record.userId = integer<quint32>();
    record.groupId = integer<quint32>();
    record.mtime = integer<quint32>();
    record.atime = integer<quint32>();
    record.ctime = integer<quint32>();
    record.fileLength = integer<quint64>();
    record.protectionClass = integer<quint8>();
    record.properties = properties();
    return record;
}

void copyBytes(_MbdbString &string)
{
    string.bytes = QByteArray(string.bytes.constData(), string.bytes.size());
}

/// Makes `record` independent of the bytes it was read from.
void copyBytes(_MbdbRecord &record)
{
    for (_MbdbString *string :
         {&record.domain, &record.path, &record.linkTarget, &record.dataHash, &record.encryptionKey})
        copyBytes(*string);
    for (_MbdbProperty &property : record.properties) {
        copyBytes(property.name);
        copyBytes(property.value);
    }
}

} // namespace

QByteArray readMbdbBytes(const QString &path)
{
    QFile file(path);
    return readWholeFile(file, largestManifest);
}

void forEachRecord(const QByteArray &content, const QString &path,
                   const std::function<void(_MbdbRecord &&)> &visit)
{
    RecordReader reader(content, path);
    while (!reader.atEnd())
        visit(reader.next());
}

QHash<QString, _MbdbRecord> readMbdbFile(const QString &path)
{
    QHash<QString, _MbdbRecord> records;
    BackupFileName fileName;
    forEachRecord(readMbdbBytes(path), path, [&](_MbdbRecord &&record) {
        copyBytes(record);
        const QString name = fileName.of(record);
        records.insert(name, std::move(record));
    });
    return records;
}
