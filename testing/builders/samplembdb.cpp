#include "testing/builders/samplembdb.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <stdexcept>

namespace
{

constexpr quint16 nullLength = 0xFFFF;

template <typename Integer>
void appendNumber(QByteArray &bytes, Integer value)
{
    char raw[sizeof(Integer)];
    qToBigEndian(value, raw);
    bytes.append(raw, sizeof(Integer));
}

void appendString(QByteArray &bytes, const QByteArray &text)
{
    if (text.size() >= nullLength)
        throw std::runtime_error("A string of a sample record is too long for Manifest.mbdb.");
    appendNumber(bytes, text.isNull() ? nullLength : quint16(text.size()));
    bytes.append(text);
}

} // namespace

QByteArray sampleRecordBytes(const SampleRecord &record)
{
    QByteArray bytes;
    for (const QByteArray *text :
         {&record.domain, &record.path, &record.linkTarget, &record.dataHash, &record.encryptionKey})
        appendString(bytes, *text);
    appendNumber(bytes, record.mode);
    appendNumber(bytes, record.inode);
    for (const quint32 number : {record.userId, record.groupId, record.mtime, record.atime, record.ctime})
        appendNumber(bytes, number);
    appendNumber(bytes, record.fileLength);
    appendNumber(bytes, record.protectionClass);
    appendNumber(bytes, quint8(record.properties.size()));
    for (const SampleRecord::Property &property : record.properties) {
        appendString(bytes, property.name);
        appendString(bytes, property.value);
    }
    return bytes;
}

QByteArray sampleMbdbHeader()
{
    return QByteArray("mbdb\x05\x00", 6);
}

QString sampleHashedName(const QByteArray &domain, const QByteArray &path)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(domain);
    hash.addData(QByteArrayView("-", 1));
    hash.addData(path);
    return QString::fromLatin1(hash.result().toHex());
}
