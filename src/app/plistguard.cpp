#include "app/plistguard.h"

#include <optional>

namespace
{

constexpr int deepestNesting = 128;
constexpr qint64 costOfNode = 160;                 // bytes that libplist takes for an empty node, about
constexpr qint64 mostUnfolded = 256 * 1024 * 1024; // bytes

/// Walks all that a binary list unfolds to, without unfolding it.
class BinaryPlistWalk
{
public:
    BinaryPlistWalk(const BinaryPlist &plist, PlistKeys wantedKeys) : list(plist), keys(wantedKeys) {}

    bool isBounded() { return visit(list.root(), 0); }

private:
    using Kind = BinaryPlist::Kind;
    using Object = BinaryPlist::Object;

    bool visit(const Object &object, int depth)
    {
        if (depth > deepestNesting || object.kind == Kind::Damaged)
            return false;
        switch (object.kind) {
        case Kind::Array: return spend(0) && visitEntries(object, depth);
        case Kind::Dictionary: return spend(0) && visitPairs(object, depth);
        // Up to three bytes of UTF-8 for two of UTF-16.
        default: return spend(object.bytes.size() * (object.kind == Kind::Utf16 ? 3 : 2) / 2);
        }
    }

    bool spend(qint64 bytes)
    {
        unfolded += costOfNode + bytes;
        return unfolded <= mostUnfolded;
    }

    bool visitEntries(const Object &array, int depth)
    {
        for (quint64 i = 0; i < array.number; ++i) {
            if (!visit(list.at(array, i), depth + 1))
                return false;
        }
        return true;
    }

    bool visitPairs(const Object &dictionary, int depth)
    {
        for (quint64 i = 0; i < dictionary.number; ++i) {
            const Object key = list.key(dictionary, i);
            const bool isSound = keys == PlistKeys::Any || isPlainText(key);
            if (!isSound || !visit(key, depth + 1) || !visit(list.entry(dictionary, i), depth + 1))
                return false;
        }
        return true;
    }

    static bool isPlainText(const Object &key)
    {
        if (key.kind != Kind::Ascii && key.kind != Kind::Utf16)
            return false;
        return !textOf(key).contains('\0');
    }

    const BinaryPlist &list;
    PlistKeys keys;
    qint64 unfolded = 0;
};

// Position behind what begins with "<!" or "<?" at `start`.
qsizetype endOfMarkup(QByteArrayView bytes, qsizetype start)
{
    const QByteArrayView rest = bytes.sliced(start);
    QByteArrayView closing = ">";
    if (rest.startsWith("<!--"))
        closing = "-->";
    else if (rest.startsWith("<![CDATA["))
        closing = "]]>";
    else if (rest.startsWith("<?"))
        closing = "?>";
    const qsizetype found = bytes.indexOf(closing, start + 2);
    return found < 0 ? bytes.size() : found + closing.size();
}

// How a tag changes the depth. `tag` starts behind its "<".
int depthStep(QByteArrayView tag)
{
    for (const QByteArrayView name : {QByteArrayView("array"), QByteArrayView("dict")}) {
        if (tag.startsWith('/') && tag.sliced(1).startsWith(name))
            return -1;
        // Only the plain form counts as empty: in doubt a tag is one level more.
        if (tag.startsWith(name))
            return tag.sliced(name.size()).startsWith("/>") ? 0 : 1;
    }
    return 0;
}

} // namespace

bool isBoundedBinaryPlist(QByteArrayView bytes, PlistKeys keys)
{
    const std::optional<BinaryPlist> list = BinaryPlist::open(bytes);
    return list && BinaryPlistWalk(*list, keys).isBounded();
}

bool isBoundedXmlPlist(QByteArrayView bytes)
{
    if (bytes.size() > largestPlist)
        return false;
    int depth = 0;
    qint64 unfolded = 0;
    for (qsizetype at = bytes.indexOf('<'); at >= 0; at = bytes.indexOf('<', at)) {
        const QByteArrayView rest = bytes.sliced(at + 1);
        if (rest.startsWith('!') || rest.startsWith('?')) {
            at = endOfMarkup(bytes, at);
            continue;
        }
        depth += depthStep(rest);
        unfolded += costOfNode;
        if (depth > deepestNesting || unfolded > mostUnfolded)
            return false;
        ++at;
    }
    return true;
}
