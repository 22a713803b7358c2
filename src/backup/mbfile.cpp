#include "backup/mbfile.h"

#include "app/binaryplist.h"

#include <cstring>
#include <limits>

namespace
{

constexpr quint64 mostFields = 256;

using Kind = BinaryPlist::Kind;
using Object = BinaryPlist::Object;

/// The objects of one archive.
class KeyedArchive
{
public:
    explicit KeyedArchive(const BinaryPlist &archive)
        : list(archive), objects(archive.value(archive.root(), "$objects"))
    {
    }

    Object root() const { return resolved(list.value(list.value(list.root(), "$top"), "root")); }

    /// What a UID stands for; anything else stands for itself. The first object is that of nothing. No
    /// archive has a UID that leads to another one, so that one step is enough.
    Object resolved(const Object &object) const
    {
        if (object.kind != Kind::Uid)
            return object;
        return object.number == 0 ? Object{} : list.at(objects, object.number);
    }

    /// Bytes, either bare or in an NSData.
    QByteArrayView data(const Object &value) const
    {
        const Object object = resolved(value);
        const Object inner =
            object.kind == Kind::Dictionary ? resolved(list.value(object, "NS.data")) : object;
        return inner.kind == Kind::Data ? inner.bytes : QByteArrayView();
    }

    /// 0 for what is no number or doesn't fit.
    template <typename Integer>
    Integer number(const Object &value) const
    {
        const Object object = resolved(value);
        const bool fits =
            object.kind == Kind::Integer && object.number <= std::numeric_limits<Integer>::max();
        return fits ? Integer(object.number) : Integer(0);
    }

private:
    const BinaryPlist &list;
    Object objects;
};

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
    const std::optional<BinaryPlist> list = BinaryPlist::open(bytes);
    if (!list)
        return std::nullopt;
    const KeyedArchive archive(*list);
    const Object root = archive.root();
    if (root.kind != Kind::Dictionary)
        return std::nullopt;
    MbFile file;
    for (quint64 i = 0; i < qMin(root.number, mostFields); ++i) {
        const Object key = list->key(root, i);
        if (key.kind == Kind::Ascii)
            takeField(file, archive, key.bytes, list->entry(root, i));
    }
    if (qint64(file.size) < 0)
        file.size = 0;
    return file;
}
