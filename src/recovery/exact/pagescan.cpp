// One page of the exact scan: which of its bytes are free, what lies in them, and what becomes of candidates
// that lie over each other or share overflow pages.

#include "app/jobprogress.h"
#include "recovery/exact/recordvalues.h"
#include "recovery/exact/scanparts.h"

#include <algorithm>
#include <map>
#include <set>
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

} // namespace

void ExactScan::scanPage(Moment &moment, const PageTask &task)
{
    std::vector<Piece> pieces;
    std::optional<TreePage> tree = treeOf(task.page, task.number, task.use, layout);
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
            const bool isFree = task.use == PageUse::Free;
            pieces.push_back(
                {table, std::move(*row), isFree ? FindMethod::FreedPage : FindMethod::EarlierState, !isFree});
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
    // A row whose head is whole or whose types are there was written, whether or not its values are left. Of
    // two that overlap the one that starts later was written later, over the end of the other.
    const auto isNothing = [&](const Piece &piece) {
        return piece.row.rowid == 0 && !piece.row.isRest() &&
               !decode(task, piece, chainOf(moment, task, piece));
    };
    std::erase_if(pieces, isNothing);
    std::sort(pieces.begin(), pieces.end(),
              [](const Piece &a, const Piece &b) { return a.row.start < b.row.start; });
    for (size_t i = 0; i + 1 < pieces.size(); ++i)
        pieces[i].row.end =
            std::min(pieces[i].row.end, std::max(pieces[i + 1].row.start, pieces[i].row.start));
    for (const Piece &piece : pieces) {
        if (piece.row.isRest() || isOfLiveGuid(task, piece))
            continue;
        OverflowChain chain = chainOf(moment, task, piece);
        std::optional<FoundRow> row = decode(task, piece, chain);
        if (!row)
            continue;
        row->moment = moment.number;
        row->origin = moment.origin;
        const std::optional<RowIdentity> identity = rules[piece.table].identityOf(*row);
        if (!chain.pages.empty() && !piece.isLiveThen && identity)
            moment.spilled.push_back({task, piece, std::move(chain), *identity});
        else
            take(*row);
    }
}

OverflowChain ExactScan::chainOf(Moment &moment, const PageTask &task, const Piece &piece) const
{
    const RowCandidate &row = piece.row;
    const qsizetype number = row.content - row.header.size + row.localSize;
    if (row.localSize == row.payloadSize || row.end < number + 4 || !moment.state)
        return {};
    const auto first = numberAt<quint32>(task.page, number);
    const qint64 wanted = row.payloadSize - row.localSize;
    if (piece.isLiveThen)
        return OverflowChain::ofLive(*moment.state, first, wanted);
    const std::atomic_bool *cancelled = progress ? &progress->cancelled : nullptr;
    const bool isOfMainFile = moment.number == 0 && wal.commits.empty() && !journal.isHot;
    const LiveMap &map = isOfMainFile ? *lastMap : moment.liveMap(cancelled);
    return OverflowChain::ofDeleted(*moment.state, map, first, wanted);
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

// Of two rows that name one overflow page, one was given it when the other no longer had it. Nobody can tell
// which, so that neither has what lies there.
void ExactScan::takeSpilled(Moment &moment)
{
    std::map<quint32, RowIdentity> owners;
    std::set<quint32> shared;
    for (const Moment::Spilled &spilled : moment.spilled) {
        for (const quint32 page : spilled.chain.pages) {
            const auto [owner, isNew] = owners.try_emplace(page, spilled.identity);
            if (!isNew && owner->second != spilled.identity)
                shared.insert(page);
        }
    }
    for (Moment::Spilled &spilled : moment.spilled) {
        const auto &pages = spilled.chain.pages;
        const auto first =
            std::find_if(pages.begin(), pages.end(), [&](quint32 page) { return shared.contains(page); });
        spilled.chain.content.truncate((first - pages.begin()) * (layout.usable - 4));
        if (std::optional<FoundRow> row = decode(spilled.task, spilled.piece, spilled.chain)) {
            row->moment = moment.number;
            row->origin = moment.origin;
            take(*row);
        }
    }
    moment.spilled.clear();
}
