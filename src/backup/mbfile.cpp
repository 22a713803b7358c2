#include "backup/mbfile.h"

#include "store/archives/keyedarchive.h"

#include <cstring>

namespace
{

constexpr quint64 mostFields = 256;

using Kind = BinaryPlist::Kind;
using Object = KeyedArchive::Object;

// With the length known, the compiler compares without a call.
template <size_t size>
bool isKey(QByteArrayView key, const char (&name)[size])
{
    return key.size() == size - 1 && std::memcmp(key.data(), name, size - 1) == 0;
}

void takeField(MbFile &file, const KeyedArchive &archive, QByteArrayView key, const Object &value)
{
    if (isKey(key, "Size"))
        file.size = archive.number<quint64>(value);
    else if (isKey(key, "Mode"))
        file.mode = archive.number<quint16>(value);
    else if (isKey(key, "InodeNumber"))
        file.inode = archive.number<quint64>(value);
    else if (isKey(key, "UserID"))
        file.userId = archive.number<quint32>(value);
    else if (isKey(key, "GroupID"))
        file.groupId = archive.number<quint32>(value);
    else if (isKey(key, "LastModified"))
        file.lastModified = archive.number<quint32>(value);
    else if (isKey(key, "LastStatusChange"))
        file.lastStatusChange = archive.number<quint32>(value);
    else if (isKey(key, "Birth"))
        file.birth = archive.number<quint32>(value);
    else if (isKey(key, "ProtectionClass"))
        file.protectionClass = archive.number<quint8>(value);
    else if (isKey(key, "EncryptionKey"))
        file.encryptionKey = archive.data(value);
    else if (isKey(key, "Digest"))
        file.digest = archive.data(value);
    else if (isKey(key, "Target"))
        file.target = textOf(archive.resolved(value));
}

} // namespace

std::optional<MbFile> readMbFile(QByteArrayView bytes)
{
    const std::optional<KeyedArchive> archive = KeyedArchive::open(bytes);
    if (!archive)
        return std::nullopt;
    const Object root = archive->root();
    if (root.kind != Kind::Dictionary)
        return std::nullopt;
    MbFile file;
    for (quint64 i = 0; i < qMin(root.number, mostFields); ++i) {
        const Object key = archive->list().key(root, i);
        if (key.kind == Kind::Ascii)
            takeField(file, *archive, key.bytes, archive->list().entry(root, i));
    }
    if (qint64(file.size) < 0)
        file.size = 0;
    return file;
}
