// A page of a tree: kind, first freeblock (2 bytes), number of cells (2), start of the cells (2), fragmented
// bytes (1), the last child of an interior page (4), then the array of places of cells, 2 bytes each.
// https://www.sqlite.org/fileformat2.html, section 1.6.

#include "recovery/exact/treepage.h"

#include <algorithm>

namespace
{

std::optional<TreePage::Kind> kindOf(quint8 byte)
{
    switch (byte) {
    case 2: return TreePage::Kind::InteriorIndex;
    case 5: return TreePage::Kind::InteriorTable;
    case 10: return TreePage::Kind::LeafIndex;
    case 13: return TreePage::Kind::LeafTable;
    default: return std::nullopt;
    }
}

std::optional<TreeCell> readCell(QByteArrayView page, qsizetype start, const TreePage &tree,
                                 const PageLayout &layout)
{
    TreeCell cell{.start = start, .end = start};
    if (!tree.isLeaf()) {
        cell.leftChild = numberAt<quint32>(page, start);
        cell.end += 4;
    }
    const auto takeNumber = [&](qint64 &number) {
        const Varint varint = varintAt(page, cell.end);
        cell.end += varint.length;
        number = varint.value;
        return varint.length > 0;
    };
    if (tree.kind != TreePage::Kind::InteriorTable && !takeNumber(cell.payloadSize))
        return std::nullopt;
    if (tree.isTable() && !takeNumber(cell.rowid))
        return std::nullopt;
    if (cell.payloadSize < 0)
        return std::nullopt;
    cell.payload = cell.end;
    cell.localSize = layout.localSize(cell.payloadSize, tree.isTable());
    if (cell.localSize > page.size() - cell.end)
        return std::nullopt;
    cell.end += cell.localSize;
    if (cell.localSize < cell.payloadSize) {
        if (page.size() - cell.end < 4)
            return std::nullopt;
        cell.overflow = numberAt<quint32>(page, cell.end);
        cell.end += 4;
    }
    cell.end = std::min<qsizetype>(std::max<qsizetype>(cell.end, start + 4), page.size()); // none is shorter
    return cell;
}

std::vector<qsizetype> bordersOf(QByteArrayView page, qsizetype header)
{
    std::vector<qsizetype> borders = {numberAt<quint16>(page, header + 5)};
    // Each freeblock names the next one, which lies behind it.
    qsizetype block = numberAt<quint16>(page, header + 1);
    while (block > borders.back() && block < page.size()) {
        borders.push_back(block);
        block = numberAt<quint16>(page, block);
    }
    return borders;
}

} // namespace

std::optional<TreePage> TreePage::read(QByteArrayView page, bool isFirst, const PageLayout &layout)
{
    const qsizetype header = isFirst ? PageLayout::fileHeader : 0;
    const std::optional<Kind> kind = kindOf(numberAt<quint8>(page, header));
    if (!kind || page.size() < header + 12)
        return std::nullopt;
    TreePage tree;
    tree.kind = *kind;
    if (!tree.isLeaf())
        tree.rightChild = numberAt<quint32>(page, header + 8);
    const qsizetype array = header + (tree.isLeaf() ? 8 : 12);
    const qsizetype count =
        std::min<qsizetype>(numberAt<quint16>(page, header + 3), (page.size() - array) / 2);
    tree.arrayEnd = array + 2 * count;
    tree.borders = bordersOf(page, header);
    tree.cells.reserve(size_t(count));
    for (qsizetype i = 0; i < count; ++i) {
        const qsizetype start = numberAt<quint16>(page, array + 2 * i);
        if (start < tree.arrayEnd)
            continue;
        if (const std::optional<TreeCell> cell = readCell(page, start, tree, layout))
            tree.cells.push_back(*cell);
    }
    return tree;
}

std::optional<RecordHeader> RecordHeader::read(QByteArrayView record, size_t mostTypes)
{
    const Varint size = varintAt(record, 0);
    if (size.length == 0 || size.value < size.length || size.value > record.size())
        return std::nullopt;
    RecordHeader header;
    header.size = size.value;
    for (qint64 at = size.length; at < size.value;) {
        const Varint type = varintAt(record.first(size.value), at);
        if (type.length == 0 || type.value < 0 || header.types.size() == mostTypes)
            return std::nullopt;
        header.types.push_back(type.value);
        const qint64 bytes = valueSize(type.value);
        header.content = bytes > std::numeric_limits<qint32>::max() - header.content
                             ? std::numeric_limits<qint32>::max()
                             : header.content + bytes;
        at += type.length;
    }
    return header;
}
