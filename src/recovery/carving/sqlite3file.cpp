#include "recovery/carving/sqlite3file.h"

#include "recovery/carving/rawreads.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// Where the numbers of the file header stand.
constexpr qint64 pageSizePlace = 16;
constexpr qint64 firstTrunkPlace = 32;
constexpr qint64 freelistCountPlace = 36;

constexpr size_t mostColumns = 32767; // that SQLite can be built for

void throwFailure(const QString &step, const QFile &file)
{
    throw std::runtime_error(
        u"%1 %2 failed. %3"_s.arg(step, file.fileName(), file.errorString()).toStdString());
}

} // namespace

void Sqlite3RawRow::append(QByteArrayView content, qint64 start, const std::vector<qint64> &types,
                           QByteArrayView whole)
{
    RawValues decoder(content, start);
    for (const qint64 type : types) {
        if (const std::optional<qint64> number = decoder.numberAtEnd(type, whole)) {
            lastColumn = values.size();
            lastNumber = *number;
        }
        values.append(decoder.next(type));
    }
}

Sqlite3File::Sqlite3File(const QString &fileName) : QFile(fileName)
{
}

void Sqlite3File::open()
{
    if (!QFile::open(QIODevice::ReadOnly))
        throwFailure(u"open"_s, *this);
    fileSize = size();
    const uchar *mapped = map(0, fileSize);
    if (!mapped)
        throwFailure(u"map"_s, *this);
    mapBegin = reinterpret_cast<const char *>(mapped);
    mapEnd = mapBegin + fileSize;
    pageSize = readStrict<qint16>(all(), pageSizePlace);
    if (pageSize <= 0)
        throw std::runtime_error("invalid page size.");
}

qint32 Sqlite3File::pageCount() const
{
    return pageSize <= 0 ? 0 : qint32(fileSize / pageSize);
}

quint32 Sqlite3File::firstFreelistTrunk() const
{
    return readStrict<quint32>(all(), firstTrunkPlace);
}

quint32 Sqlite3File::freelistPageCount() const
{
    return readStrict<quint32>(all(), freelistCountPlace);
}

Sqlite3Page Sqlite3File::readPage(quint32 pageNo) const
{
    Sqlite3Page page;
    if (pageNo < 1)
        return page;
    page.pageNo = pageNo;
    page.base = placeOf(pageNo);
    page.header = page.base + (pageNo == 1 ? fileHeaderLength : 0);
    if (page.header >= fileSize)
        return page;
    page.flags = readByte(all(), page.header);
    const int kind = page.flags & 0xF7;
    if (kind != 5 && kind != 2)
        return page;
    page.firstFreeblock = readStrict<qint16>(all(), page.header + 1);
    page.contentStart = readStrict<qint16>(all(), page.header + 5);
    page.fragmentedBytes = readByte(all(), page.header + 7);
    readCellPointers(page);
    readFreeblocks(page);
    return page;
}

void Sqlite3File::readCellPointers(Sqlite3Page &page) const
{
    qint64 place = page.header + 8;
    if (!page.isLeafPage()) {
        page.rightChild = readStrict<quint32>(all(), place);
        place += 4;
    }
    const qint64 room = (page.base + pageSize - place) / 2;
    const qint64 count = std::min<qint64>(readStrict<qint16>(all(), page.header + 3), room);
    for (qint64 i = 0; i < count; ++i, place += 2)
        page.cells.append(page.base + readStrict<qint16>(all(), place));
}

void Sqlite3File::readFreeblocks(Sqlite3Page &page) const
{
    QSet<qint16> seen;
    for (qint16 offset = page.firstFreeblock; offset > 0 && !seen.contains(offset);
         offset = readStrict<qint16>(all(), page.base + offset)) {
        seen.insert(offset);
        page.freeblocks.append(page.base + offset);
        if (offset + 2 >= pageSize)
            break;
    }
}

Sqlite3Cell Sqlite3File::readCell(const Sqlite3Page &page, qint64 address) const
{
    Sqlite3Cell cell;
    qint64 place = address;
    if (!page.isLeafPage()) {
        cell.leftChild = readStrict<quint32>(all(), place);
        place += 4;
    }
    const auto takeVarint = [&] {
        const RawVarint number = readVarint(all(), place);
        place += number.length;
        return number.value;
    };
    if (page.flags & 10)
        cell.payloadSize = takeVarint();
    if (!page.isIndexPage())
        cell.rowid = takeVarint();
    cell.cellSize = qint32(place - address);
    cell.payload = place;
    if (cell.payloadSize > 0)
        readLocalSize(page, cell);
    return cell;
}

void Sqlite3File::readLocalSize(const Sqlite3Page &page, Sqlite3Cell &cell) const
{
    const int usable = pageSize;
    const int most = page.isIndexPage() ? (usable - 12) * 64 / 255 - 23 : usable - 32;
    const int mostWhole = page.isIndexPage() ? most : usable - 35;
    if (cell.payloadSize <= mostWhole) {
        cell.localSize = qint32(cell.payloadSize);
        if (!page.isIndexPage())
            cell.cellSize += cell.localSize;
        return;
    }
    cell.localSize = localPart(cell.payloadSize, usable, most);
    cell.overflowPage = readStrict<quint32>(all(), cell.payload + cell.localSize);
    cell.cellSize += cell.localSize + 4;
}

QByteArray Sqlite3File::readPayload(const Sqlite3Cell &cell) const
{
    QByteArray payload;
    qint64 remaining = std::min(cell.payloadSize, longestRecord);
    if (remaining <= 0)
        return payload;
    if (cell.localSize > 0) {
        payload = readBytes(all(), cell.payload, cell.localSize).toByteArray();
        remaining -= cell.localSize;
    }
    QSet<quint32> seen;
    quint32 page = cell.overflowPage;
    while (remaining > 0 && page >= 2 && page <= quint32(pageCount()) && !seen.contains(page) &&
           !isCancelled()) {
        seen.insert(page);
        const qint64 base = placeOf(page);
        const qint64 length = std::min<qint64>(remaining, pageSize - 4);
        payload += readBytes(all(), base + 4, length);
        remaining -= length;
        page = readStrict<quint32>(all(), base);
    }
    return payload;
}

Sqlite3RawRow Sqlite3File::rowData(const Sqlite3Cell &cell) const
{
    Sqlite3RawRow row;
    row.rowid = cell.rowid;
    const QByteArray payload = readPayload(cell);
    if (payload.isEmpty())
        return row;
    const RawVarint headerLength = readVarint(payload, 0);
    if (headerLength.length == 0) {
        qWarning("Sqlite3File::rowData, read header length failed.");
        return row;
    }
    std::vector<qint64> types;
    qint64 place = headerLength.length;
    while (place < headerLength.value) {
        const RawVarint type = readVarint(payload, place);
        if (type.length == 0 || types.size() == mostColumns) {
            qWarning("Sqlite3File::rowData, read column type failed.");
            return row;
        }
        types.push_back(type.value);
        place += type.length;
    }
    row.append(payload, place, types, payload);
    return row;
}

Sqlite3FreelistTrunk Sqlite3File::readFreelistTrunk(quint32 pageNo) const
{
    Sqlite3FreelistTrunk trunk;
    if (pageNo < 1)
        return trunk;
    trunk.pageNo = pageNo;
    trunk.base = placeOf(pageNo);
    trunk.nextTrunk = readStrict<quint32>(all(), trunk.base);
    // More than the pages that the file could have at all, or past its end, is nothing but damage.
    const qint64 inFile = std::max<qint64>(fileSize - (trunk.base + 8), 0) / 4;
    const qint64 most = std::min(inFile, fileSize / smallestRealPage);
    const qint64 count = std::min<qint64>(readStrict<qint32>(all(), trunk.base + 4), most);
    for (qint64 i = 0; i < count; ++i)
        trunk.leaves.append(readStrict<quint32>(all(), trunk.base + 8 + i * 4));
    return trunk;
}

QList<Sqlite3Page> Sqlite3File::collectLeafPages(const Sqlite3Page &page) const
{
    QList<Sqlite3Page> leaves;
    QSet<quint32> seen;
    visitLeafPages(page, seen, [&](const Sqlite3Page &leaf) {
        leaves.append(leaf);
        return true;
    });
    return leaves;
}

void Sqlite3File::visitLeafPages(const Sqlite3Page &page, QSet<quint32> &seen, const PageVisitor &visit) const
{
    struct Step {
        Sqlite3Page page;
        qsizetype next = 0; // of its cells
    };
    if (seen.contains(page.pageNo))
        return;
    seen.insert(page.pageNo);
    if (page.isLeafPage()) {
        visit(page);
        return;
    }
    std::vector<Step> path = {{page}}; // no recursion: the depth is the file's say
    while (!path.empty() && !isCancelled()) {
        Step &step = path.back();
        if (step.next == step.page.cells.size()) {
            path.pop_back();
            continue;
        }
        const quint32 child = readCell(step.page, step.page.cells.at(step.next++)).leftChild;
        if (child == 0 || child > quint32(pageCount()) || seen.contains(child))
            continue;
        seen.insert(child);
        Sqlite3Page below = readPage(child);
        if (!below.isLeafPage())
            path.push_back({std::move(below)});
        else if (!visit(below))
            return;
    }
}
