// The scan of `Sqlite3File` for bytes that look like the header of a record.

#include "recovery/carving/rawreads.h"
#include "recovery/carving/sqlite3file.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace
{

// In pages. Sound ones don't overlap, and all fit into one page.
constexpr qint64 mostFreeblockPages = 4;

} // namespace

/// Tries one place after the other in one range of bytes.
class CandidateScan
{
public:
    CandidateScan(const Sqlite3File &source, const CarveColumns &tbCols, int firstColumnLength,
                  int usableSize, qint64 rangeEnd)
        : file(source)
        , columns(tbCols)
        , firstLength(std::max(firstColumnLength, 0))
        , usable(usableSize)
        , range(source.all().first(std::clamp<qint64>(rangeEnd, 0, source.fileSize)))
        , types(size_t(std::max<qsizetype>(tbCols.size() - 1, 0)))
    {
    }

    QList<Sqlite3RawRow> run(qint64 start, const Sqlite3File::RowFilter &filter)
    {
        QList<Sqlite3RawRow> rows;
        qint64 p = std::max<qint64>(start, 0);
        while ((p = nextBeginning(p)) < range.size() && !file.isCancelled()) {
            std::optional<Sqlite3RawRow> row = candidate(p);
            if (row && (!filter || filter(*row))) {
                rows.append(std::move(*row));
                p = std::max(p + 1, q + taken + 4); // backwards it would never end
            } else {
                ++p;
            }
        }
        return rows;
    }

private:
    // The steps of one candidate at `p`; `q` walks on behind what was read.

    std::optional<Sqlite3RawRow> candidate(qint64 p)
    {
        if (!readTypes(p) || !measure(p))
            return std::nullopt;
        Sqlite3RawRow row;
        row.rowid = rowidAt(p);
        const QByteArray content = gather();
        row.values.reserve(columns.size());
        row.values.append(firstLength < 1 ? QVariant() : QVariant(content.first(firstWithin(content))));
        row.append(content, firstWithin(content), types, wholeOf(content));
        return row;
    }

    // Most bytes can't begin a record at all, and a scan is little else than passing over them.
    qint64 nextBeginning(qint64 p) const
    {
        if (columns.size() < 2)
            return p;
        const char *const bytes = range.data();
        while (p < range.size() && !columns.mayBeginWith(1, quint8(bytes[p])))
            ++p;
        return p;
    }

    // The first column is a row number, which stands as NULL ahead of `p`: the types begin with the second.
    bool readTypes(qint64 p)
    {
        q = p;
        if (columns.size() < 2) {
            qWarning("tbCols size < 2.");
            return false;
        }
        for (qsizetype column = 1; column < columns.size(); ++column) {
            const quint8 byte = readByte(range, q);
            if (q < range.size() && byte < 0x80) {
                if (!columns.mayBeginWith(column, byte))
                    return false;
                types[size_t(column - 1)] = byte;
                ++q;
                continue;
            }
            const RawVarint type = readVarint(range, q);
            if (!columns.allows(column, type.value))
                return false;
            q += type.length;
            types[size_t(column - 1)] = type.value;
        }
        return true;
    }

    // What the bytes at `p` give when they are read as payload size, row number and header size.
    qint64 rowidAt(qint64 p) const
    {
        const qint64 n = headerEnd - p;
        const QByteArrayView header = range.first(std::clamp<qint64>(headerEnd - 1, 0, range.size()));
        const RawVarint payload = readVarint(header, p);
        const RawVarint rowid = readVarint(header, p + payload.length);
        const RawVarint size = readVarint(header, p + payload.length + rowid.length);
        const bool fits = payload.length + rowid.length + size.length <= n;
        return fits && payload.value > 0 && size.value > 0 && rowid.value > 0 ? rowid.value : 0;
    }

    bool measure(qint64 p)
    {
        headerEnd = q;
        total = firstLength;
        const qint64 mostBytes = std::min(file.fileSize, Sqlite3File::longestRecord);
        for (const qint64 type : types) {
            // Each by itself: what is added up stays far from the largest number.
            if (contentLength(type) > mostBytes)
                return false;
            total += contentLength(type);
        }
        if (total > mostBytes)
            return false;
        const qint64 headerSize = q - p + 1;
        qint64 size = total + headerSize;
        size += varintLength(size);
        wanted = total;
        overflowPage = 0;
        return size <= usable - 35 || measureSpilled(size, headerSize);
    }

    // A record keeps the number of its overflow page at the end of its local bytes; it is looked for behind
    // the types all the same.
    bool measureSpilled(qint64 size, qint64 headerSize)
    {
        overflowPage = readStrict<qint32>(range, q);
        q += 4;
        wanted = localPart(size, usable, usable - 32) - headerSize;
        return overflowPage > 0 && overflowPage <= file.pageCount();
    }

    QByteArray gather()
    {
        taken = std::min(range.size() - q + 1, wanted);
        QByteArray content = readBytes(range, q, taken).toByteArray();
        qint64 remaining = total - taken;
        QSet<qint32> seen;
        for (qint32 page = overflowPage; remaining > 0 && page > 1 && !seen.contains(page);) {
            seen.insert(page);
            const qint64 base = file.placeOf(quint32(page));
            const auto next = readStrict<qint32>(file.all(), base);
            if (next > file.pageCount() || file.isCancelled())
                break;
            const qint64 length = std::min<qint64>(remaining, file.pageSize - 4);
            content += readBytes(file.all(), base + 4, length);
            remaining -= length;
            page = next;
        }
        return content;
    }

    // A row that was deleted alone leaves free space of just its size: the range ends with it, and its last
    // byte, which is that of a date, is past what is read.
    QByteArrayView wholeOf(const QByteArray &content) const
    {
        const bool lacksLastByte = overflowPage == 0 && content.size() == total - 1;
        return lacksLastByte && total <= file.fileSize - q ? file.all().sliced(q, total)
                                                           : QByteArrayView(content);
    }

    qint64 firstWithin(const QByteArray &content) const
    {
        return std::min<qint64>(firstLength, content.size());
    }

    const Sqlite3File &file;
    const CarveColumns &columns;
    const int firstLength;
    const int usable;
    const QByteArrayView range;

    std::vector<qint64> types;
    qint64 q = 0;
    qint64 headerEnd = 0;
    qint64 total = 0;  // bytes of content
    qint64 wanted = 0; // of those, here
    qint64 taken = 0;
    qint32 overflowPage = 0;
};

QList<Sqlite3RawRow> Sqlite3File::carvePage(const CarveColumns &tbCols, int firstColumnLength, quint32 pageNo,
                                            int offset, const RowFilter &rowFilter) const
{
    const int usable = pageNo == 0 ? pageSize - int(fileHeaderLength) : pageSize;
    const qint64 start = std::min(placeOf(pageNo) + offset, fileSize);
    return carveRange(tbCols, firstColumnLength, usable, start, start + pageSize, rowFilter);
}

QList<Sqlite3RawRow> Sqlite3File::carveFreeSpace(const CarveColumns &tbCols, int firstColumnLength,
                                                 const Sqlite3Page &page, const RowFilter &rowFilter) const
{
    constexpr int leafHeader = 8;
    if (!page.isLeafPage())
        return carvePage(tbCols, firstColumnLength, page.pageNo, leafHeader, rowFilter);
    const int usable = page.pageNo == 0 ? pageSize - int(fileHeaderLength) : pageSize;
    const auto carve = [&](qint64 start, qint64 end) {
        return carveRange(tbCols, firstColumnLength, usable, start, end, rowFilter);
    };
    QList<Sqlite3RawRow> rows;
    if (page.contentStart > 0)
        rows += carve(page.base + leafHeader, page.base + page.contentStart);
    qint64 bytes = 0;
    for (const qint64 block : page.freeblocks) {
        const auto size = readStrict<qint16>(all(), block + 2);
        bytes += std::max<qint64>(size, 0);
        if (bytes > mostFreeblockPages * pageSize)
            break;
        rows += carve(block + 4, block + size);
    }
    return rows;
}

QList<Sqlite3RawRow> Sqlite3File::carveRange(const CarveColumns &tbCols, int firstColumnLength,
                                             int usableSize, qint64 start, qint64 end,
                                             const RowFilter &rowFilter) const
{
    return CandidateScan(*this, tbCols, firstColumnLength, usableSize, end).run(start, rowFilter);
}
