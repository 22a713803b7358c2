// One page of the exact scan: which of its bytes are free, what lies in them, and what becomes of candidates
// that lie over each other or share overflow pages.

#include "app/jobprogress.h"
#include "recovery/exact/recordvalues.h"
#include "recovery/exact/scanparts.h"

#include <algorithm>
#include <utility>

namespace
{

/// Whether a cell of a page that nobody leads to is a record: another use of the page may have left anything.
bool isRecord(QByteArrayView page, const TreeCell &cell)
{
    const auto header = RecordHeader::read(page.sliced(cell.payload, cell.localSize), mostColumns);
    return header && header->size + header->content == cell.payloadSize;
}

std::optional<TreePage> treeOf(QByteArrayView page, quint32 number, PageUse use, const PageLayout &layout)
{
    if (use == PageUse::Overflow || use == PageUse::Trunk)
        return std::nullopt;
    std::optional<TreePage> tree = TreePage::read(page, number == 1, layout);
    if (!tree || use == PageUse::Tree)
        return tree;
    if (!tree->isLeaf())
        return std::nullopt;
    std::erase_if(tree->cells, [&](const TreeCell &cell) { return !isRecord(page, cell); });
    return tree->cells.empty() ? std::nullopt : tree;
}

/// Where the last text of a row ends. What cells of another table leave, written over it, is no text.
qsizetype endOfText(QByteArrayView page, const RowCandidate &row)
{
    constexpr qint64 shortestText = 4; // that proves something
    const RecordValues values(row.header,
                              page.sliced(row.content, std::max<qsizetype>(row.end - row.content, 0)));
    for (size_t i = values.size(); i-- > 0;) {
        if (values.typeAt(i) % 2 == 1 && values.typeAt(i) >= 13 + 2 * shortestText && !values.isMissing(i))
            return row.content + values.endOf(i);
    }
    return row.content;
}

} // namespace

void ExactScan::scanPage(Moment &moment, PageTask task)
{
    std::vector<Piece> pieces;
    std::optional<TreePage> tree = treeOf(task.page, task.number, task.use, layout);
    task.isOfTable = tree && tree->kind == TreePage::Kind::LeafTable && hasRow(task.page, *tree);
    if (tree) {
        qsizetype free = tree->arrayEnd;
        std::sort(tree->cells.begin(), tree->cells.end(),
                  [](const TreeCell &a, const TreeCell &b) { return a.start < b.start; });
        const auto scanFree = [&](qsizetype end) {
            for (const qsizetype border : tree->borders) {
                if (border > free && border < end)
                    scanArea(task, std::exchange(free, border), border, pieces);
            }
            scanArea(task, free, end, pieces);
        };
        for (const TreeCell &cell : tree->cells) {
            scanFree(cell.start);
            free = std::max(free, cell.end);
            if (!task.hasLiveCells && tree->kind == TreePage::Kind::LeafTable)
                takeCell(task, cell, pieces);
        }
        scanFree(task.page.size());
    } else {
        scanArea(task, task.usedBytes, task.page.size(), pieces);
    }
    if (!pieces.empty())
        takePieces(moment, task, pieces);
}

// Whether the page belongs to one of the tables, as its cells tell.
bool ExactScan::hasRow(QByteArrayView page, const TreePage &tree) const
{
    return std::any_of(tree.cells.begin(), tree.cells.end(), [&](const TreeCell &cell) {
        return std::any_of(finders.begin(), finders.end(),
                           [&](const RowFinder &finder) { return finder.inCell(page, cell).has_value(); });
    });
}

void ExactScan::scanArea(const PageTask &task, qsizetype start, qsizetype end,
                         std::vector<Piece> &pieces) const
{
    if (start >= end)
        return;
    for (size_t table = 0; table < finders.size(); ++table) {
        for (RowCandidate &row : finders[table].find(task.page, start, end)) {
            const FindMethod method = row.rowid > 0 ? FindMethod::Gap : FindMethod::Freeblock;
            pieces.push_back({table, std::move(row), method});
        }
    }
}

void ExactScan::takeCell(const PageTask &task, const TreeCell &cell, std::vector<Piece> &pieces) const
{
    for (size_t table = 0; table < finders.size(); ++table) {
        if (std::optional<RowCandidate> row = finders[table].inCell(task.page, cell)) {
            const FindMethod method =
                task.use == PageUse::Free ? FindMethod::FreedPage : FindMethod::EarlierState;
            pieces.push_back({table, std::move(*row), method, true});
        }
    }
}

// Most of what is found is an older copy of a row that is there.
bool ExactScan::isOfLiveGuid(const PageTask &task, const Piece &piece) const
{
    if (scanned[piece.table].kind != RowKind::Message)
        return false;
    FoundRow row;
    row.values = {QVariant(), QString::fromLatin1(task.page.sliced(piece.row.content, 36))};
    const std::optional<RowIdentity> identity = rules[piece.table].identityOf(row);
    return identity && isLive(piece.table, *identity);
}

void ExactScan::takePieces(Moment &moment, const PageTask &task, std::vector<Piece> &pieces)
{
    // A row with a guid or with a whole head was written, whether or not its values are left. Of two that
    // overlap the one that starts later was written later, over the end of the other.
    const auto isNothing = [&](const Piece &piece) {
        return scanned[piece.table].kind != RowKind::Message && piece.row.rowid == 0 &&
               !decode(task, piece, chainOf(moment, task, piece));
    };
    std::erase_if(pieces, isNothing);
    std::sort(pieces.begin(), pieces.end(),
              [](const Piece &a, const Piece &b) { return a.row.start < b.row.start; });
    for (size_t i = 0; i + 1 < pieces.size(); ++i)
        pieces[i].row.end =
            std::min(pieces[i].row.end, std::max(pieces[i + 1].row.start, pieces[i].row.start));
    for (size_t i = 0; i < pieces.size(); ++i) {
        Piece &piece = pieces[i];
        if (piece.row.isRest() || isOfLiveGuid(task, piece))
            continue;
        if (!task.isOfTable && i + 1 == pieces.size())
            piece.row.end = std::min(piece.row.end, endOfText(task.page, piece.row));
        const OverflowChain chain = chainOf(moment, task, piece);
        std::optional<FoundRow> row = decode(task, piece, chain);
        if (row && !chain.content.isEmpty() && !isOwnChain(moment, task, piece) && !isProven(piece, *row))
            row = decode(task, piece, {});
        if (!row)
            continue;
        row->moment = moment.number;
        row->origin = moment.origin;
        take(*row);
    }
}

// An overflow page that was given up may have been another row's since then, whose end looks alike. It is
// this row's where the text stands in the row twice, the second time up to the last page, and both agree.
bool ExactScan::isProven(const Piece &piece, const FoundRow &row) const
{
    const int body = rules[piece.table].bodyThatAgrees(row);
    if (body < 0)
        return false;
    const RowCandidate &candidate = piece.row;
    qint64 endOfBody = 0;
    for (int i = 0; i <= body; ++i)
        endOfBody += valueSize(candidate.header.types[size_t(i)]);
    const qint64 local = candidate.localSize - candidate.header.size;
    const qint64 spilled = candidate.header.content - local;
    const qint64 perPage = layout.usable - 4;
    return endOfBody > local + (spilled - 1) / perPage * perPage;
}

OverflowChain ExactScan::chainOf(Moment &moment, const PageTask &task, const Piece &piece) const
{
    const RowCandidate &row = piece.row;
    const qsizetype number = row.content - row.header.size + row.localSize;
    if (row.localSize == row.payloadSize || row.end < number + 4 || !moment.state)
        return {};
    const auto first = numberAt<quint32>(task.page, number);
    const qint64 wanted = row.payloadSize - row.localSize;
    return isOwnChain(moment, task, piece)
               ? OverflowChain::ofLive(*moment.state, first, wanted)
               : OverflowChain::ofDeleted(*moment.state, mapOf(moment), first, wanted);
}

// Of a row that stood in its table at that moment.
bool ExactScan::isOwnChain(Moment &moment, const PageTask &task, const Piece &piece) const
{
    return piece.isCell && moment.state && mapOf(moment).use(task.number) == PageUse::Tree;
}

const LiveMap &ExactScan::mapOf(Moment &moment) const
{
    const bool isLast = moment.number == 0 && wal.commits.empty() && !journal.isHot;
    return isLast ? *lastMap : moment.liveMap(progress ? &progress->cancelled : nullptr);
}

std::optional<FoundRow> ExactScan::decode(const PageTask &task, const Piece &piece,
                                          const OverflowChain &chain) const
{
    const RowCandidate &candidate = piece.row;
    const qint64 local = candidate.localSize - candidate.header.size;
    const qint64 there = std::clamp<qint64>(candidate.end - candidate.content, 0, local);
    QByteArray joined;
    QByteArrayView content = task.page.sliced(candidate.content, there);
    if (there == local && !chain.content.isEmpty())
        content = joined = content.toByteArray() + chain.content;
    const RecordValues values(candidate.header, content);
    if (values.hasBrokenText())
        return std::nullopt;
    FoundRow row{.table = int(piece.table), .rowid = candidate.rowid};
    for (size_t i = 0; i < values.size(); ++i) {
        row.values.append(values.at(i));
        if (values.isMissing(i))
            row.missing.append(int(i));
    }
    row.method = piece.method;
    row.page = task.number;
    row.offset = candidate.start;
    row.contentHash = qHashBits(content.data(), size_t(content.size()));
    row.grade = rules[piece.table].gradeOf(row);
    return rules[piece.table].accepts(row) ? std::optional(row) : std::nullopt;
}
