#include "recovery/exact/rowfinder.h"

#include <algorithm>
#include <cctype>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype guidLength = 36;
constexpr quint8 guidType = 13 + 2 * guidLength;
constexpr int freeblockHead = 4;

/// Whether the head of a freeblock may stand at `start`: the place of the next one, which lies behind it, or
/// 0, and its size.
bool isFreeblock(QByteArrayView page, qsizetype start)
{
    const qsizetype next = numberAt<quint16>(page, start);
    const qsizetype size = numberAt<quint16>(page, start + 2);
    return size >= freeblockHead && size <= page.size() - start && (next == 0 || next >= start + size);
}

} // namespace

bool beginsWithGuid(QByteArrayView bytes)
{
    if (bytes.size() < guidLength)
        return false;
    for (qsizetype i = 0; i < guidLength; ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        const auto sign = uchar(bytes[i]);
        if (isDash ? sign != '-' : sign >= 0x80 || !std::isalnum(sign))
            return false;
    }
    return true;
}

RowFinder::RowFinder(const TableShape &rowShape, const PageLayout &pageLayout)
    : shape(rowShape)
    , layout(pageLayout)
    , hasGuid(shape.table == "message"_L1 && shape.columns.size() > 1 && shape.columns[1].name == "guid"_L1)
{
}

std::vector<RowCandidate> RowFinder::find(QByteArrayView page, qsizetype start, qsizetype end) const
{
    const Range range{page, start, end};
    std::vector<RowCandidate> rows;
    for (qsizetype types = nextAnchor(range, start); types < end; types = nextAnchor(range, types + 1)) {
        std::optional<RowCandidate> row = at(range, types);
        if (!row && hasGuid)
            row = restOfRow(range, types);
        if (row)
            rows.push_back(std::move(*row));
    }
    return rows;
}

std::optional<RowCandidate> RowFinder::inCell(QByteArrayView page, const TreeCell &cell) const
{
    const Varint headerSize = varintAt(page, cell.payload);
    const qsizetype types = cell.payload + headerSize.length + 1;
    std::optional<RowCandidate> row = at({page, cell.start, cell.end}, types);
    return row && row->start == cell.start && row->rowid == cell.rowid ? row : std::nullopt;
}

// Where the types may begin: behind the type of the row number, which is 0. Every byte of free space passes
// here, so this goes at the speed of memory where there is a guid, and near to it elsewhere.
qsizetype RowFinder::nextAnchor(const Range &range, qsizetype from) const
{
    const char *const bytes = range.page.data();
    if (hasGuid) {
        while (from < range.end) {
            const void *found = std::memchr(bytes + from, guidType, size_t(range.end - from));
            if (!found)
                return range.end;
            from = static_cast<const char *>(found) - bytes;
            if (from > range.start && bytes[from - 1] == 0)
                return from;
            ++from;
        }
        return range.end;
    }
    for (; from + 1 < range.end; ++from) {
        const auto first = quint8(bytes[from]);
        const auto second = quint8(bytes[from + 1]);
        if (first >= 0x80 ||
            (shape.columns[1].allows(first) && (second >= 0x80 || shape.columns[2].allows(second))))
            return from;
    }
    return range.end;
}

std::optional<RowCandidate> RowFinder::at(const Range &range, qsizetype types) const
{
    const QByteArrayView bytes = range.page.first(range.end);
    RecordHeader header;
    header.types.push_back(0);
    qsizetype at = types;
    while (header.types.size() < shape.columns.size()) {
        const Varint type = varintAt(bytes, at);
        if (type.length == 0 || type.value < 0 || type.value == 10 || type.value == 11 ||
            !shape.columns[header.types.size()].allows(type.value) ||
            valueSize(type.value) > std::numeric_limits<qint32>::max() - header.content)
            return std::nullopt;
        header.types.push_back(type.value);
        header.content += valueSize(type.value);
        at += type.length;
        header.size = 1 + at - types;
        // A guid shows where the values begin; elsewhere the rows that are there tell how many there are.
        const bool mayEnd =
            hasGuid ? beginsWithGuid(bytes.sliced(at)) : shape.counts.contains(header.types.size());
        if (!mayEnd)
            continue;
        if (std::optional<RowCandidate> row = withCount(range, types, header))
            return row;
        if (hasGuid)
            return std::nullopt;
    }
    return std::nullopt;
}

// A row whose values were written over wrote over others before.
std::optional<RowCandidate> RowFinder::restOfRow(const Range &range, qsizetype types) const
{
    constexpr size_t fewestTypes = 10;
    const QByteArrayView bytes = range.page.first(range.end);
    qsizetype at = types;
    for (size_t column = 1; column < std::min(shape.columns.size(), fewestTypes); ++column) {
        const Varint type = varintAt(bytes, at);
        if (type.length == 0 && at + 1 >= range.end)
            break;
        if (type.length == 0 || !shape.columns[column].allows(type.value))
            return std::nullopt;
        at += type.length;
    }
    RowCandidate rest;
    rest.start = rest.content = rest.end = startOfRest(range, types);
    return rest;
}

// The earliest of the places that can be one, else the latest of all.
qsizetype RowFinder::startOfRest(const Range &range, qsizetype types) const
{
    constexpr int payloadBytes = 2; // a guid and a type for each column are more than 127 bytes
    const int headerBytes = varintSize(qint64(shape.columns.size()) + 1) + 1;
    const QByteArrayView bytes = range.page.first(range.end);
    qsizetype earliest = types - headerBytes - payloadBytes - 1;
    for (int rowidBytes = 1; rowidBytes <= varintSize(shape.highestRowid); ++rowidBytes) {
        const qsizetype start = types - headerBytes - payloadBytes - rowidBytes;
        if (start < range.start)
            break;
        const Varint rowid = varintAt(bytes, start + payloadBytes);
        const bool isWhole = varintAt(bytes, start).length == payloadBytes && rowid.length == rowidBytes &&
                             rowid.value <= shape.highestRowid;
        if (isWhole || isFreeblock(range.page, start))
            earliest = std::min(earliest, start);
    }
    return std::max(range.start, earliest);
}

std::optional<RowCandidate> RowFinder::withCount(const Range &range, qsizetype types,
                                                 const RecordHeader &header) const
{
    RowCandidate row;
    row.header = header;
    row.content = types + header.size - 1;
    row.header.size += varintSize(header.size + 1); // its own length belongs to it
    row.payloadSize = row.header.size + header.content;
    row.localSize = layout.localSize(row.payloadSize, true);
    if (row.localSize < row.header.size) // its types would not stand together
        return std::nullopt;
    if (!findWholeHead(range, types, row) && !findFreedHead(range, types, row))
        return std::nullopt;
    return row;
}

bool RowFinder::findWholeHead(const Range &range, qsizetype types, RowCandidate &row) const
{
    const QByteArrayView bytes = range.page.first(range.end);
    const qsizetype headerStart = row.content - row.header.size;
    if (headerStart < range.start + 2 || bytes[types - 1] != 0 ||
        varintAt(bytes, headerStart).value != row.header.size)
        return false;
    const int payloadBytes = varintSize(row.payloadSize);
    for (int rowidBytes = 1; rowidBytes <= 9; ++rowidBytes) {
        const qsizetype start = headerStart - rowidBytes - payloadBytes;
        if (start < range.start)
            return false;
        const Varint payload = varintAt(bytes, start);
        const Varint rowid = varintAt(bytes, start + payloadBytes);
        if (payload.value != row.payloadSize || payload.length != payloadBytes ||
            rowid.length != rowidBytes || rowid.value < 1 || rowid.value > shape.highestRowid)
            continue;
        row.start = start;
        row.rowid = rowid.value;
        row.end =
            std::min(range.end, headerStart + row.localSize + (row.localSize < row.payloadSize ? 4 : 0));
        return true;
    }
    return false;
}

bool RowFinder::findFreedHead(const Range &range, qsizetype types, RowCandidate &row) const
{
    const qsizetype headerStart = row.content - row.header.size;
    const qint64 localEnd = headerStart + row.localSize + (row.localSize < row.payloadSize ? 4 : 0);
    const int mostRowidBytes = varintSize(shape.highestRowid);
    bool isFound = false;
    for (int rowidBytes = 1; rowidBytes <= mostRowidBytes; ++rowidBytes) {
        const qsizetype start = headerStart - rowidBytes - varintSize(row.payloadSize);
        if (start < range.start || start + freeblockHead > types)
            break;
        const qsizetype size = numberAt<quint16>(range.page, start + 2);
        if (!isFreeblock(range.page, start) || start + size <= row.content ||
            !isRestOfHead(range, start, headerStart, row))
            continue;
        const qsizetype end = std::min<qsizetype>({range.end, start + size, localEnd});
        const bool isExact = start + size == localEnd;
        if (isFound && !isExact && end <= row.end)
            continue;
        isFound = true;
        row.start = start;
        row.end = end;
        if (isExact)
            break;
    }
    return isFound;
}

// What the freeblock's head has left of the row number, the header's length and the first type.
bool RowFinder::isRestOfHead(const Range &range, qsizetype start, qsizetype headerStart,
                             const RowCandidate &row) const
{
    const qsizetype rest = start + freeblockHead;
    const qsizetype types = headerStart + varintSize(row.header.size) + 1;
    for (qsizetype at = rest; at < headerStart; ++at) {
        const bool isLast = at + 1 == headerStart;
        if ((quint8(range.page[at]) < 0x80) != isLast)
            return false;
    }
    if (rest <= headerStart && varintAt(range.page, headerStart).value != row.header.size)
        return false;
    return rest >= types || range.page[types - 1] == 0;
}
