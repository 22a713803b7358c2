#include "store/archives/keyedarchive.h"

#include "app/appledates.h"
#include "app/plistvalue.h"

#include <QDateTime>
#include <QUrl>

#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr int deepestObject = 64;             // objects within each other
constexpr qsizetype mostNodes = 100'000;      // the largest archive seen has 48 objects
constexpr qsizetype mostBytes = largestPlist; // of texts and data, as often as they are told
constexpr double latestDate = 1e11;           // seconds since 2001: 3,000 years

using Kind = BinaryPlist::Kind;
using Object = BinaryPlist::Object;

QVariant dateOf(double seconds)
{
    if (!(std::abs(seconds) < latestDate))
        return {};
    return QDateTime::fromMSecsSinceEpoch(appleEpoch * 1000 + qint64(std::llround(seconds * 1000)), Qt::UTC);
}

/// Follows the references of an archive, each object once: what refers to it again shares it.
class TreeReader
{
public:
    /// Each node of an honest list takes a byte of it at least, that of the reference.
    TreeReader(const KeyedArchive &keyed, qsizetype size)
        : archive(keyed), list(keyed.list()), nodesLeft(int(std::min(size * 2, mostNodes)))
    {
    }

    QVariant read(const Object &root) { return value(root, 0).content; }

private:
    /// What an object comes to, and how many levels of others it holds: one that is shared may hang deeper
    /// the second time.
    struct Node {
        QVariant content;
        int height = 0;
    };
    struct Known {
        bool isOpen = true; ///< on the way to where the reader is
        Node node = {};
    };

    Node value(const Object &object, int depth);
    QVariant bytesOrText(const Object &object);
    Node referred(quint64 number, int depth);
    Node array(const Object &object, int depth);
    Node dictionary(const Object &object, int depth);
    /// The entries "NS.keys" and "NS.objects" of a dictionary.
    Node pairs(const Object &object, int depth);
    Node record(const Object &object, int depth);
    QString keyText(const Object &key) const;
    QVariant address(const Object &object, int depth);
    QVariant uuid(const Object &object) const;
    QVariant simple(const Object &content, const QString &className);
    QString className(const Object &object) const;
    Object field(const Object &object, QByteArrayView name) const
    {
        return archive.resolved(list.value(object, name));
    }

    const KeyedArchive &archive;
    const BinaryPlist &list;
    QHash<quint64, Known> known;
    int nodesLeft;
    qsizetype bytes = 0;
};

TreeReader::Node TreeReader::value(const Object &object, int depth)
{
    if (depth > deepestObject || --nodesLeft < 0)
        return {};
    if (const std::optional<quint64> reference = archive.reference(object))
        return referred(*reference, depth);
    switch (object.kind) {
    case Kind::Boolean: return {object.number != 0};
    case Kind::Integer: return {qint64(object.number)};
    case Kind::Real: return {realOf(object)};
    case Kind::Date: return {dateOf(realOf(object))};
    case Kind::Data:
    case Kind::Ascii:
    case Kind::Utf16: return {bytesOrText(object)};
    case Kind::Array: return array(object, depth);
    case Kind::Dictionary: return dictionary(object, depth);
    default: return {};
    }
}

QVariant TreeReader::bytesOrText(const Object &object)
{
    bytes += object.bytes.size();
    if (bytes > mostBytes)
        return {};
    return object.kind == Kind::Data ? QVariant(object.bytes.toByteArray())
                                     : QVariant(QString::fromUtf8(textOf(object)));
}

TreeReader::Node TreeReader::referred(quint64 number, int depth)
{
    const auto found = known.constFind(number);
    if (found != known.cend()) {
        const bool isUsable = !found->isOpen && depth + found->node.height <= deepestObject;
        return isUsable ? found->node : Node();
    }
    known.insert(number, {});
    const Node node = value(archive.resolved({Kind::Uid, number, {}}), depth);
    known.insert(number, {false, node});
    return node;
}

TreeReader::Node TreeReader::array(const Object &object, int depth)
{
    QVariantList entries;
    int height = 0;
    for (quint64 i = 0; i < object.number && nodesLeft > 0; ++i) {
        const Node entry = value(list.at(object, i), depth + 1);
        entries.append(entry.content);
        height = std::max(height, entry.height + 1);
    }
    return {entries, height};
}

TreeReader::Node TreeReader::dictionary(const Object &object, int depth)
{
    nodesLeft -= int(std::min<quint64>(object.number / 16, mostNodes)); // looking for keys takes time too
    const auto has = [&](QByteArrayView key) { return list.value(object, key).kind != Kind::Damaged; };
    if (has("NS.keys"))
        return pairs(object, depth);
    if (has("NS.objects"))
        return value(list.value(object, "NS.objects"), depth + 1);
    if (has("NS.relative"))
        return {address(object, depth)};
    if (has("NS.uuidbytes"))
        return {uuid(object)};
    for (const QByteArrayView key : {"NS.string", "NS.bytes", "NS.data", "NS.time"}) {
        if (has(key))
            return {simple(field(object, key), className(object))};
    }
    return record(object, depth);
}

/// Texts, data and dates that have a class of their own.
QVariant TreeReader::simple(const Object &content, const QString &className)
{
    if (content.kind == Kind::Real || content.kind == Kind::Date)
        return dateOf(realOf(content));
    const QVariant value = bytesOrText(content);
    const bool isText = content.kind == Kind::Data && className.contains("String"_L1);
    return isText ? QString::fromUtf8(value.toByteArray()) : value;
}

TreeReader::Node TreeReader::pairs(const Object &object, int depth)
{
    const Object keys = field(object, "NS.keys");
    const Object values = field(object, "NS.objects");
    if (keys.kind != Kind::Array || values.kind != Kind::Array || keys.number != values.number)
        return {};
    QVariantMap map;
    int height = 0;
    for (quint64 i = 0; i < keys.number && nodesLeft > 0; ++i) {
        const Node entry = value(list.at(values, i), depth + 1);
        map.insert(keyText(archive.resolved(list.at(keys, i))), entry.content);
        height = std::max(height, entry.height + 1);
    }
    return {map, height};
}

TreeReader::Node TreeReader::record(const Object &object, int depth)
{
    QVariantMap map;
    int height = 0;
    for (quint64 i = 0; i < object.number && nodesLeft > 0; ++i) {
        const QString key = keyText(list.key(object, i));
        if (key == "$class"_L1) {
            map.insert(key, className(object));
            continue;
        }
        const Node entry = value(list.entry(object, i), depth + 1);
        map.insert(key, entry.content);
        height = std::max(height, entry.height + 1);
    }
    return {map, height};
}

QString TreeReader::keyText(const Object &key) const
{
    return key.kind == Kind::Integer ? QString::number(qint64(key.number)) : QString::fromUtf8(textOf(key));
}

QVariant TreeReader::address(const Object &object, int depth)
{
    const QString relative = QString::fromUtf8(textOf(field(object, "NS.relative")));
    const QString base = value(list.value(object, "NS.base"), depth + 1).content.toString();
    return base.isEmpty() ? relative : QUrl(base).resolved(QUrl(relative)).toString(QUrl::FullyEncoded);
}

QVariant TreeReader::uuid(const Object &object) const
{
    constexpr qsizetype uuidSize = 16;
    const QByteArrayView uuidBytes = archive.data(list.value(object, "NS.uuidbytes"));
    return uuidBytes.size() == uuidSize ? QVariant(QString::fromLatin1(uuidBytes.toByteArray().toHex()))
                                        : QVariant();
}

QString TreeReader::className(const Object &object) const
{
    return QString::fromUtf8(textOf(field(field(object, "$class"), "$classname")));
}

} // namespace

std::optional<KeyedArchive> KeyedArchive::open(QByteArrayView archive)
{
    const std::optional<BinaryPlist> plist = BinaryPlist::open(archive);
    return plist ? std::optional(KeyedArchive(*plist)) : std::nullopt;
}

KeyedArchive::KeyedArchive(const BinaryPlist &archive)
    : plist(archive), objects(archive.value(archive.root(), "$objects"))
{
}

KeyedArchive::Object KeyedArchive::rootReference() const
{
    const Object top = plist.value(plist.root(), "$top");
    for (const QByteArrayView name : {QByteArrayView("root"), QByteArrayView("dd-result")}) {
        const Object named = plist.value(top, name);
        if (named.kind != BinaryPlist::Kind::Damaged)
            return named;
    }
    return plist.entry(top, 0);
}

KeyedArchive::Object KeyedArchive::resolved(const Object &object) const
{
    const std::optional<quint64> number = reference(object);
    if (!number)
        return object;
    return *number == 0 ? Object{} : plist.at(objects, *number);
}

std::optional<quint64> KeyedArchive::reference(const Object &object) const
{
    if (object.kind == BinaryPlist::Kind::Uid)
        return object.number;
    if (object.kind != BinaryPlist::Kind::Dictionary || object.number != 1)
        return std::nullopt;
    const Object number = plist.value(object, "CF$UID");
    return number.kind == BinaryPlist::Kind::Integer ? std::optional(number.number) : std::nullopt;
}

QByteArrayView KeyedArchive::data(const Object &value) const
{
    const Object object = resolved(value);
    const Object inner =
        object.kind == BinaryPlist::Kind::Dictionary ? resolved(plist.value(object, "NS.data")) : object;
    return inner.kind == BinaryPlist::Kind::Data ? inner.bytes : QByteArrayView();
}

QVariant readPlistTree(const QByteArray &bytes)
{
    const QByteArray binary = bytes.startsWith("bplist00") ? bytes : PlistValue::parse(bytes).toBinary();
    const std::optional<KeyedArchive> archive = KeyedArchive::open(binary);
    if (!archive)
        return {};
    const bool isKeyed = archive->list().value(archive->list().root(), "$objects").kind == Kind::Array;
    return TreeReader(*archive, binary.size())
        .read(isKeyed ? archive->rootReference() : archive->list().root());
}

QVariant valueAt(const QVariant &tree, QStringView path)
{
    QVariant value = tree;
    for (const QStringView key : path.split(u'/'))
        value = value.toMap().value(key.toString());
    return value;
}

QString textAt(const QVariant &tree, QStringView path)
{
    const QVariant value = valueAt(tree, path);
    return value.metaType().id() == QMetaType::QString ? value.toString() : QString();
}
