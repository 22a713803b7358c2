#include "mbdbreader.h"

#include "backupfilename.h"
#include "backupfiles.h"
#include "boundedbytes.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype headerSize = 6;
constexpr qint64 largestManifest = 512 * 1024 * 1024; // over two million records
constexpr qint64 usualRecordSize = 160;

class RecordReader
{
public:
    explicit RecordReader(QByteArrayView all) : cursor(all) {}

    bool atEnd() const { return cursor.atEnd(); }
    qsizetype offset() const { return cursor.offset(); }
    /// Nothing when the header is cut.
    [[nodiscard]] bool skipHeader() { return cursor.take(headerSize).has_value(); }
    /// Nothing when the record is cut.
    std::optional<_MbdbRecord> next();

private:
    struct Cut {
    };

    template <typename Integer>
    Integer integer()
    {
        if (const std::optional<Integer> value = cursor.takeBigEndian<Integer>())
            return *value;
        throw Cut();
    }

    _MbdbString string(const _MbdbString &like);
    QList<_MbdbProperty> properties();
    _MbdbRecord record();

    ByteCursor cursor;
    _MbdbString lastDomain;
};

// A string that the file ends in is taken short; only one without a single byte is an error. Where the
// bytes are those of `like` they are shared.
_MbdbString RecordReader::string(const _MbdbString &like)
{
    _MbdbString result;
    result.length = integer<quint16>();
    if (!result.isPresent())
        return result;
    const QByteArrayView bytes = cursor.takeUpTo(result.length);
    if (bytes.isEmpty())
        throw Cut();
    result.bytes = bytes == like.bytes ? like.bytes : bytes.toByteArray();
    return result;
}

QList<_MbdbProperty> RecordReader::properties()
{
    QList<_MbdbProperty> result;
    // The count is signed: one with the top bit set means none.
    for (int left = integer<qint8>(); left > 0; --left) {
        _MbdbString name = string({});
        result.append({std::move(name), string({})});
    }
    return result;
}

_MbdbRecord RecordReader::record()
{
    _MbdbRecord record;
    record.domain = string(lastDomain);
    lastDomain = record.domain;
    record.path = string({});
    record.linkTarget = string({});
    record.dataHash = string({});
    record.encryptionKey = string({});
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

std::optional<_MbdbRecord> RecordReader::next()
{
    try {
        return record();
    } catch (const Cut &) {
        return std::nullopt;
    }
}

[[noreturn]] void throwCut(const QFile &file, qsizetype at)
{
    const QString text =
        u"%1: %2: the list of files is damaged: it breaks off in the entry at byte %3 of %4. "
        "Make the backup again."_s.arg(file.fileName(), file.errorString(), QString::number(at),
                                       QString::number(file.size()));
    throw std::runtime_error(text.toStdString());
}

} // namespace

QHash<QString, _MbdbRecord> readMbdbFile(const QString &path)
{
    QFile file(path);
    const QByteArray content = readWholeFile(file, largestManifest);
    RecordReader reader(content);
    if (!reader.skipHeader())
        throwCut(file, 0);
    QHash<QString, _MbdbRecord> records;
    records.reserve(content.size() / usualRecordSize);
    BackupFileName fileName;
    while (!reader.atEnd()) {
        const qsizetype start = reader.offset();
        std::optional<_MbdbRecord> record = reader.next();
        if (!record)
            throwCut(file, start);
        const QString name = fileName.of(*record);
        records.insert(name, std::move(*record));
    }
    return records;
}
