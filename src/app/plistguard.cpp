#include "app/plistguard.h"

#include "app/boundedbytes.h"
#include "app/plisttrailer.h"

#include <optional>

namespace
{

constexpr int deepestNesting = 128;
constexpr qint64 costOfNode = 160;                 // bytes that libplist takes for an empty node, about
constexpr qint64 mostUnfolded = 256 * 1024 * 1024; // bytes

/// The structure of a binary property list: 1 to 8 bytes wide offsets of objects, then containers that
/// refer to objects by their number (CFBinaryPList.c of Apple's CoreFoundation describes the format).
class BinaryPlistWalk
{
public:
    BinaryPlistWalk(QByteArrayView bytes, PlistKeys wantedKeys) : all(bytes), keys(wantedKeys) {}

    bool isBounded()
    {
        const std::optional<PlistTrailer> found = readPlistTrailer(all);
        trailer = found.value_or(PlistTrailer());
        return found && visit(trailer.rootObject, 0);
    }

private:
    enum Marker {
        Data = 0x4,
        Ascii = 0x5,
        Utf16 = 0x6,
        Utf8 = 0x7,
        Array = 0xA,
        Set = 0xC,
        Dictionary = 0xD
    };

    static std::optional<quint64> integer(QByteArrayView bytes, qsizetype width)
    {
        if (width < 1 || width > 8 || bytes.size() < width)
            return std::nullopt;
        quint64 value = 0;
        for (qsizetype i = 0; i < width; ++i)
            value = value << 8 | quint8(bytes.at(i));
        return value;
    }

    std::optional<quint64> integerAt(quint64 offset, qsizetype width) const
    {
        if (offset > quint64(all.size()))
            return std::nullopt;
        return integer(all.sliced(qsizetype(offset)), width);
    }

    bool spend(quint64 bytes)
    {
        if (bytes > quint64(mostUnfolded))
            return false;
        unfolded += costOfNode + qint64(bytes);
        return unfolded <= mostUnfolded;
    }

    // The count of a container or text: in the marker itself, or in an integer object behind it.
    std::optional<quint64> takeCount(ByteCursor &cursor, int low) const
    {
        if (low != 0xF)
            return quint64(low);
        const std::optional<quint8> marker = cursor.takeBigEndian<quint8>();
        if (!marker || (*marker >> 4) != 0x1 || (*marker & 0xF) > 3)
            return std::nullopt;
        const qsizetype width = qsizetype(1) << (*marker & 0xF);
        const std::optional<QByteArrayView> bytes = cursor.take(width);
        return bytes ? integer(*bytes, width) : std::nullopt;
    }

    /// From the marker of an object on.
    std::optional<ByteCursor> objectAt(quint64 object) const
    {
        if (object >= trailer.objects)
            return std::nullopt;
        const std::optional<quint64> offset =
            integerAt(trailer.offsetTable + object * quint64(trailer.offsetWidth), trailer.offsetWidth);
        if (!offset || *offset >= quint64(all.size()))
            return std::nullopt;
        return ByteCursor(all.sliced(qsizetype(*offset)));
    }

    bool visit(quint64 object, int depth)
    {
        std::optional<ByteCursor> found = objectAt(object);
        if (depth > deepestNesting || !found)
            return false;
        ByteCursor &cursor = *found;
        const int marker = *cursor.takeBigEndian<quint8>();
        const int kind = marker >> 4;
        if (kind < Data)
            return spend(0);
        const std::optional<quint64> count = takeCount(cursor, marker & 0xF);
        if (!count || *count > quint64(all.size()))
            return false;
        if (kind == Dictionary && keys == PlistKeys::Listable && !hasListableKeys(cursor, *count))
            return false;
        if (kind == Array || kind == Set || kind == Dictionary)
            return spend(0) && visitEntries(cursor, *count * (kind == Dictionary ? 2 : 1), depth);
        return spend(*count * (kind == Utf16 ? 3 : 1));
    }

    std::optional<quint64> takeReference(ByteCursor &cursor) const
    {
        const std::optional<QByteArrayView> bytes = cursor.take(trailer.referenceWidth);
        return bytes ? integer(*bytes, trailer.referenceWidth) : std::nullopt;
    }

    bool hasListableKeys(ByteCursor cursor, quint64 count) const
    {
        for (quint64 i = 0; i < count; ++i) {
            const std::optional<quint64> object = takeReference(cursor);
            std::optional<ByteCursor> key = object ? objectAt(*object) : std::nullopt;
            if (!key || !isPlainText(*key))
                return false;
        }
        return true;
    }

    bool isPlainText(ByteCursor &cursor) const
    {
        const int marker = *cursor.takeBigEndian<quint8>();
        const int kind = marker >> 4;
        const int unit = kind == Utf16 ? 2 : 1; // bytes
        const std::optional<quint64> count = takeCount(cursor, marker & 0xF);
        if ((kind != Ascii && kind != Utf16) || !count || *count > quint64(all.size()))
            return false;
        const std::optional<QByteArrayView> text = cursor.take(qsizetype(*count) * unit);
        for (qsizetype at = 0; text && at < text->size(); at += unit) {
            if (text->at(at) == 0 && text->at(at + unit - 1) == 0)
                return false;
        }
        return text.has_value();
    }

    bool visitEntries(ByteCursor &cursor, quint64 references, int depth)
    {
        for (quint64 i = 0; i < references; ++i) {
            const std::optional<quint64> object = takeReference(cursor);
            if (!object || !visit(*object, depth + 1))
                return false;
        }
        return true;
    }

    QByteArrayView all;
    PlistKeys keys;
    PlistTrailer trailer;
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
    return bytes.size() <= largestPlist && BinaryPlistWalk(bytes, keys).isBounded();
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
