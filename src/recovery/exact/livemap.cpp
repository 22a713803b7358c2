// Pages in use (https://www.sqlite.org/fileformat2.html): trees from the roots that sqlite_master names, the
// overflow pages of their cells, the list of free pages, pointer-map pages of a file that vacuums itself, and
// the page in which locks are taken, at one gigabyte.

#include "recovery/exact/livemap.h"

#include "recovery/exact/recordvalues.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype firstTrunkPlace = 32;
constexpr qsizetype vacuumRootPlace = 52; // of a file that vacuums itself
constexpr qint64 lockPlace = 1 << 30;
constexpr qint64 longestPayload = qint64(64) << 20;

SchemaEntry entryOf(QByteArrayView record)
{
    SchemaEntry entry;
    const std::optional<RecordHeader> header = RecordHeader::read(record, 5);
    if (!header || header->types.size() != 5)
        return entry;
    const RecordValues values(*header, record.sliced(header->size));
    entry.type = values.at(0).toString();
    entry.name = values.at(1).toString();
    entry.root = quint32(values.at(3).toLongLong());
    entry.sql = values.at(4).toString();
    return entry;
}

} // namespace

QByteArray wholePayload(const DatabaseState &state, quint32 pageNumber, const TreeCell &cell)
{
    const QByteArrayView page = state.page(pageNumber);
    QByteArray payload = page.sliced(cell.payload, cell.localSize).toByteArray();
    const qint64 wanted = std::min(cell.payloadSize, longestPayload);
    const qint64 usable = state.pageLayout().usable;
    for (quint32 next = cell.overflow; next > 0 && payload.size() < wanted;) {
        const QByteArrayView overflow = state.page(next);
        if (overflow.isEmpty())
            break;
        payload += overflow.sliced(4, std::min(usable - 4, wanted - payload.size()));
        next = numberAt<quint32>(overflow, 0);
    }
    return payload;
}

LiveMap::LiveMap(const DatabaseState &source, const std::atomic_bool *cancelled)
    : state(source)
    , cancel(cancelled)
    , uses(size_t(source.pageCount()) + 1, PageUse::Free)
    , used(size_t(source.pageCount()) + 1, 0)
{
    markFixedPages();
    readSchema();
    std::vector<bool> seen(uses.size()); // in one for all: roots may lead to each other's pages
    mark(1, seen);
    for (const SchemaEntry &entry : entries)
        mark(entry.root, seen);
    markFreelist();
}

void LiveMap::readSchema()
{
    visitTree(1, [this](quint32 number, const TreePage &page) {
        for (const TreeCell &cell : page.cells) {
            if (page.kind == TreePage::Kind::LeafTable)
                entries.push_back(entryOf(wholePayload(state, number, cell)));
        }
    });
    std::erase_if(entries, [](const SchemaEntry &entry) { return entry.root < 2; });
}

const SchemaEntry *LiveMap::table(QLatin1StringView name) const
{
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const SchemaEntry &entry) {
        return entry.type == "table"_L1 && entry.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == entries.end() ? nullptr : &*found;
}

void LiveMap::visitTree(quint32 root, const Visitor &visit) const
{
    std::vector<bool> seen(uses.size());
    walk(root, seen, visit);
}

void LiveMap::walk(quint32 root, std::vector<bool> &seen, const Visitor &visit) const
{
    std::vector<quint32> waiting = {root}; // no recursion: the depth is the file's say
    while (!waiting.empty() && !isCancelled()) {
        const quint32 number = waiting.back();
        waiting.pop_back();
        if (number < 1 || number >= seen.size() || seen[number])
            continue;
        seen[number] = true;
        const auto page = TreePage::read(state.page(number), number == 1, state.pageLayout());
        if (!page)
            continue;
        visit(number, *page);
        if (page->isLeaf())
            continue;
        waiting.push_back(page->rightChild);
        for (auto cell = page->cells.rbegin(); cell != page->cells.rend(); ++cell)
            waiting.push_back(cell->leftChild);
    }
}

void LiveMap::claim(quint32 page, PageUse use, qsizetype bytes)
{
    if (page < uses.size() && uses[page] == PageUse::Free) {
        uses[page] = use;
        used[page] = quint32(bytes);
    }
}

void LiveMap::mark(quint32 root, std::vector<bool> &seen)
{
    walk(root, seen, [this](quint32 number, const TreePage &page) {
        claim(number, PageUse::Tree, 0);
        for (const TreeCell &cell : page.cells) {
            if (cell.overflow > 0)
                markOverflow(cell);
        }
    });
}

void LiveMap::markOverflow(const TreeCell &cell)
{
    const qint64 perPage = state.pageLayout().usable - 4;
    qint64 left = cell.payloadSize - cell.localSize;
    for (quint32 next = cell.overflow; left > 0 && next < uses.size() && uses[next] == PageUse::Free;) {
        claim(next, PageUse::Overflow, 4 + std::min(left, perPage));
        left -= perPage;
        next = numberAt<quint32>(state.page(next), 0);
    }
}

void LiveMap::markFreelist()
{
    quint32 next = numberAt<quint32>(state.page(1), firstTrunkPlace);
    while (next > 0 && next < uses.size() && uses[next] == PageUse::Free && !isCancelled()) {
        const QByteArrayView trunk = state.page(next);
        const qint64 entriesInUse = numberAt<quint32>(trunk, 4);
        claim(next, PageUse::Trunk, std::min<qint64>(8 + 4 * entriesInUse, trunk.size()));
        next = numberAt<quint32>(trunk, 0);
    }
}

void LiveMap::markFixedPages()
{
    claim(quint32(lockPlace / state.pageLayout().size) + 1, PageUse::Fixed, 0);
    if (numberAt<quint32>(state.page(1), vacuumRootPlace) == 0)
        return;
    const size_t between = size_t(state.pageLayout().usable / 5) + 1;
    for (size_t page = 2; page < uses.size(); page += between) {
        const bool isLockPage = uses[page] == PageUse::Fixed; // the map then lies behind it
        claim(quint32(isLockPage ? page + 1 : page), PageUse::Fixed, 0);
    }
}
