#include "recovery/exact/exactscan.h"

#include "app/jobprogress.h"
#include "recovery/exact/scanparts.h"

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

PageLayout layoutOf(const DatabaseBytes &files)
{
    if (const std::optional<PageLayout> layout = PageLayout::of(files.mainFile))
        return *layout;
    // The first transaction of a database may stand in its log alone.
    const qint64 size = numberAt<quint32>(files.wal, 8);
    if (files.mainFile.isEmpty() && size >= 512 && size <= 65536 && (size & (size - 1)) == 0)
        return {int(size), int(size)};
    throw std::runtime_error("invalid page size.");
}

} // namespace

ExactScan::ExactScan(const DatabaseBytes &bytes, JobProgress *jobProgress)
    : files(bytes)
    , progress(jobProgress)
    , layout(layoutOf(bytes))
    , wal(bytes.wal, layout.size)
    , journal(bytes.journal, layout.size)
{
    DatabaseState last(files.mainFile, layout);
    applyLast(last);
    lastMap.emplace(last, progress ? &progress->cancelled : nullptr);
    readLiveTables(last, *lastMap);
    found.resize(scanned.size());
    for (const ScannedTable &table : scanned)
        finders.emplace_back(table.shape, layout);
    isReplaced.resize(size_t(files.mainFile.size() / layout.size) + 1);
    const auto replace = [this](const std::vector<PageVersion> &pages) {
        for (const PageVersion &version : pages) {
            if (version.page < isReplaced.size())
                isReplaced[version.page] = true;
        }
        pagesInAll += qint64(pages.size());
    };
    pagesInAll = files.mainFile.size() / layout.size + qint64(wal.loose.size());
    for (const WalCommit &commit : wal.commits)
        replace(commit.pages);
    replace(journal.pages);
}

bool ExactScan::isCancelled() const
{
    return progress && progress->cancelled.load(std::memory_order_relaxed);
}

bool ExactScan::run(const Sink &rowSink)
{
    sink = rowSink;
    scanMainFile();
    scanWal();
    scanLoosePages();
    return !isCancelled();
}

void ExactScan::scanMainFile()
{
    const DatabaseState state(files.mainFile, layout);
    Moment moment{.state = &state};
    const bool isLast = wal.commits.empty() && !journal.isHot;
    const LiveMap &map = isLast ? *lastMap : moment.liveMap(progress ? &progress->cancelled : nullptr);
    for (quint32 number = 1; number <= state.pageCount() && !isCancelled(); ++number) {
        const PageUse use = map.use(number);
        const bool isSame = isLast || (!isReplaced[number] && lastMap->use(number) == PageUse::Tree);
        if (use != PageUse::Fixed)
            scanPage(moment, {state.page(number), number, use, map.usedBytes(number), false,
                              isSame && use == PageUse::Tree});
        report();
    }
}

void ExactScan::scanWal()
{
    DatabaseState state(files.mainFile, layout);
    int number = 0;
    for (const WalCommit &commit : wal.commits) {
        for (const PageVersion &version : commit.pages)
            state.putPage(version.page, version.content);
        state.setPageCount(commit.pageCount);
        Moment moment{.state = &state, .number = ++number, .origin = FindOrigin::Wal};
        scanPages(moment, commit.pages);
        if (isCancelled())
            return;
    }
}

void ExactScan::scanLoosePages()
{
    Moment behind{.origin = FindOrigin::Wal};
    scanPages(behind, wal.loose);
    Moment before{.origin = FindOrigin::Journal};
    scanPages(before, journal.pages);
}

void ExactScan::scanPages(Moment &moment, const std::vector<PageVersion> &pages)
{
    for (const PageVersion &version : pages) {
        if (isCancelled())
            return;
        scanPage(moment, {version.content.first(layout.usable), version.page, PageUse::Unknown});
        report();
    }
}

void ExactScan::report()
{
    ++pagesDone;
    constexpr qint64 pagesBetween = 512;
    if (progress && pagesDone % pagesBetween == 0)
        progress->updateProgress({}, percentOf(pagesDone, pagesInAll), {});
}

bool ExactScan::isLive(size_t table, const RowIdentity &identity) const
{
    return std::binary_search(live[table].begin(), live[table].end(), identity);
}

void ExactScan::take(const FoundRow &row)
{
    const auto table = size_t(row.table);
    const std::optional<RowIdentity> identity = rules[table].identityOf(row);
    if (!identity || isLive(table, *identity))
        return;
    const int grade = row.grade == FindGrade::Whole ? 4 : row.grade == FindGrade::Partial ? 2 : 0;
    const Rank rank{grade + (row.rowid > 0 ? 1 : 0), row.contentHash};
    const auto [known, isNew] = found[table].try_emplace(*identity, rank);
    if (!isNew && (rank.value < known->second.value ||
                   (rank.value == known->second.value && rank.content == known->second.content)))
        return;
    known->second = rank;
    sink(row, *identity);
}
