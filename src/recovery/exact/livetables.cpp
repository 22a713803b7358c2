// What the tables hold as SQLite reads the database: the shapes of their rows, and which rows are there.

#include "app/jobprogress.h"
#include "recovery/exact/recordvalues.h"
#include "recovery/exact/scanparts.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype enoughForGuid = 400; // bytes of a record: a type for each column, and the guid

/// What a live row tells of itself in the form of a found one.
FoundRow asFound(const RecordHeader &header, QByteArrayView content, const RowRules &rules)
{
    FoundRow row;
    const RecordValues values(header, content);
    for (size_t i = 0; i < values.size(); ++i)
        row.values.append(rules.isTelling(int(i)) ? values.at(i) : QVariant());
    return row;
}

} // namespace

void ExactScan::applyLast(DatabaseState &state) const
{
    for (const WalCommit &commit : wal.commits) {
        for (const PageVersion &version : commit.pages)
            state.putPage(version.page, version.content);
        state.setPageCount(commit.pageCount);
    }
    if (!journal.isHot)
        return;
    for (const PageVersion &version : journal.pages)
        state.putPage(version.page, version.content);
    if (journal.pageCount > 0)
        state.setPageCount(journal.pageCount);
}

void ExactScan::readLiveTables(const DatabaseState &state, const LiveMap &map)
{
    const auto addTable = [&](QLatin1StringView name, RowKind kind) {
        if (const SchemaEntry *entry = map.table(name)) {
            TableShape shape = TableShape::of(entry->name.toLower(), entry->sql);
            if (shape.columns.size() > 2)
                scanned.push_back({kind, std::move(shape)});
        }
    };
    addTable("message"_L1, RowKind::Message);
    if (!scanned.empty() && scanned.front().shape.columnIndex("guid"_L1) != 1)
        scanned.front().kind = RowKind::OldMessage;
    addTable("handle"_L1, RowKind::Handle);
    addTable("chat"_L1, RowKind::Chat);
    live.resize(scanned.size());
    readHighestRowids(state, map);
    for (size_t index = 0; index < scanned.size(); ++index) {
        rules.emplace_back(scanned[index].kind, scanned[index].shape);
        if (const SchemaEntry *entry = map.table(QLatin1StringView(scanned[index].shape.table.toLatin1())))
            readLiveRows(state, map, *entry, index);
    }
}

void ExactScan::readLiveRows(const DatabaseState &state, const LiveMap &map, const SchemaEntry &table,
                             size_t index)
{
    TableShape &shape = scanned[index].shape;
    const bool isToldByGuid = scanned[index].kind == RowKind::Message;
    qint64 highest = 0;
    map.visitTree(table.root, [&](quint32 number, const TreePage &page) {
        if (page.kind != TreePage::Kind::LeafTable)
            return;
        for (const TreeCell &cell : page.cells) {
            const QByteArrayView local = state.page(number).sliced(cell.payload, cell.localSize);
            const bool isTold = isToldByGuid && local.size() >= enoughForGuid;
            const QByteArray whole = isTold ? QByteArray() : wholePayload(state, number, cell);
            const QByteArrayView record = isTold ? local : QByteArrayView(whole);
            const std::optional<RecordHeader> header = RecordHeader::read(record, mostColumns);
            if (!header)
                continue;
            shape.observe(*header);
            highest = std::max(highest, cell.rowid);
            const FoundRow row = asFound(*header, record.sliced(header->size), rules[index]);
            rules[index].observe(row);
            if (const std::optional<RowIdentity> identity = rules[index].identityOf(row))
                live[index].push_back(*identity);
            if (const std::optional<RowIdentity> identity = rules[index].identityByText(row))
                live[index].push_back(*identity);
        }
    });
    std::sort(live[index].begin(), live[index].end());
    shape.counts.insert(shape.columns.size());
    shape.highestRowid = std::max(shape.highestRowid, highest);
}

// A table that counts its rows says which numbers it has ever given.
void ExactScan::readHighestRowids(const DatabaseState &state, const LiveMap &map)
{
    const SchemaEntry *sequence = map.table("sqlite_sequence"_L1);
    if (!sequence)
        return;
    map.visitTree(sequence->root, [&](quint32 number, const TreePage &page) {
        for (const TreeCell &cell : page.cells) {
            const QByteArray record = wholePayload(state, number, cell);
            const std::optional<RecordHeader> header = RecordHeader::read(record, 2);
            if (!header || header->types.size() != 2 || page.kind != TreePage::Kind::LeafTable)
                continue;
            const RecordValues values(*header, QByteArrayView(record).sliced(header->size));
            for (ScannedTable &table : scanned) {
                if (values.at(0).toString().compare(table.shape.table, Qt::CaseInsensitive) == 0 &&
                    values.at(1).toLongLong() > 0)
                    table.shape.highestRowid = values.at(1).toLongLong();
            }
        }
    });
}
