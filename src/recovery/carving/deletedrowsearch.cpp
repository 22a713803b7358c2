#include "recovery/carving/deletedrowsearch.h"

#include "app/jobprogress.h"
#include "recovery/carving/messagerecycledb.h"
#include "recovery/carving/searcheddatabase.h"
#include "sqlite_qt/writetransaction.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr int tableLeaf = 13;

int takeRowsThatWent(SearchedDatabase &database, const DeletedRowKind &kind, MessageRecycleDb &recycle,
                     const JobProgress *progress)
{
    int found = 0;
    recycle.openDb();
    WriteTransaction transaction(recycle);
    for (const Sqlite3RawRow &row : database.rowsThatWent(kind.table, progress))
        found += kind.takeFreedRow(row);
    transaction.commit();
    return found;
}

} // namespace

int searchDeletedRows(SearchedDatabase &database, const DeletedRowKind &kind, MessageRecycleDb &recycle,
                      JobProgress *progress)
{
    // Whole rows come first: what is found between rows may lack something.
    int found = takeRowsThatWent(database, kind, recycle, progress);
    found += DeletedRowSearch(database.current(), recycle, progress).run(kind);
    if (SearchedFile *mainFile = database.withoutLog()) {
        DeletedRowSearch search(*mainFile, recycle, progress);
        if (search.canOpen())
            found += search.run(kind);
    }
    return found;
}

DeletedRowSearch::DeletedRowSearch(SearchedFile &source, MessageRecycleDb &target, JobProgress *waiting)
    : searched(source), recycle(target), progress(waiting), file(source.path)
{
    if (progress)
        file.setCancelFlag(&progress->cancelled);
}

bool DeletedRowSearch::isCancelled() const
{
    return progress && progress->cancelled.load(std::memory_order_relaxed);
}

bool DeletedRowSearch::canOpen()
{
    try {
        file.open();
        return true;
    } catch (const std::runtime_error &error) {
        qWarning("%ls is not searched: %s", qUtf16Printable(searched.path), error.what());
        return false;
    }
}

int DeletedRowSearch::run(const DeletedRowKind &kind)
{
    if (!file.isOpen())
        file.open();
    recycle.openDb();
    WriteTransaction transaction(recycle);
    int found = searchFreelist(kind);
    addLivePages(kind.table);
    found += searchPages(kind);
    transaction.commit();
    return found;
}

// A page that comes again would bring nothing but rows that the recycle database holds by then.
void DeletedRowSearch::addPage(quint32 pageNo)
{
    if (pageNo > quint32(file.pageCount()) + 1) // the last one may be cut
        return;
    const qsizetype before = listed.size();
    listed.insert(pageNo);
    if (listed.size() == before)
        return;
    pages.push_back(pageNo);
    if (gathering.isDue(listed.size()))
        report(-1, u"%1/%2"_s.arg(listed.size()).arg(file.pageCount()));
}

int DeletedRowSearch::searchFreelist(const DeletedRowKind &kind)
{
    // A freelist names each page once; damage may make it name some again and again.
    qint64 entriesLeft = file.size() / Sqlite3File::smallestRealPage;
    int found = 0;
    QSet<quint32> trunks;
    for (quint32 next = file.firstFreelistTrunk(); next > 0 && !trunks.contains(next) && !isCancelled();) {
        trunks.insert(next);
        addPage(next);
        const Sqlite3FreelistTrunk trunk = file.readFreelistTrunk(next);
        for (const quint32 pageNo : trunk.leaves) {
            if (isCancelled() || --entriesLeft < 0)
                return found;
            found += searchFreePage(kind, pageNo);
        }
        next = trunk.nextTrunk;
    }
    return found;
}

int DeletedRowSearch::searchFreePage(const DeletedRowKind &kind, quint32 pageNo)
{
    const Sqlite3Page page = file.readPage(pageNo);
    if (!page.isBTreePage()) {
        addPage(pageNo);
        return 0;
    }
    // It was part of a tree and may still lead to whole pages.
    int found = 0;
    file.visitLeafPages(page, walked, [&](const Sqlite3Page &leaf) {
        addPage(leaf.pageNo);
        found += leaf.flags == tableLeaf ? takeFreedRows(kind, leaf) : 0;
        return !isCancelled();
    });
    return found;
}

int DeletedRowSearch::takeFreedRows(const DeletedRowKind &kind, const Sqlite3Page &leaf)
{
    int found = 0;
    for (const qint64 cell : leaf.cells) {
        const Sqlite3RawRow row = file.rowData(file.readCell(leaf, cell));
        if (isCancelled())
            break; // it may be cut short
        found += kind.takeFreedRow(row);
    }
    return found;
}

void DeletedRowSearch::addLivePages(const QString &table)
{
    if (!searched.db.isOpen())
        return;
    Sqlite3Sql sql("select rootpage from sqlite_master where type='table' and name=?");
    sql.addTextParam(table);
    Sqlite3Cursor cursor = searched.db.queryThrow(sql);
    if (!cursor.moveNextThrow())
        return;
    QSet<quint32> seen;
    file.visitLeafPages(file.readPage(quint32(cursor.getInt64(0))), seen, [&](const Sqlite3Page &leaf) {
        addPage(leaf.pageNo);
        return !isCancelled();
    });
}

int DeletedRowSearch::searchPages(const DeletedRowKind &kind)
{
    const std::vector<CarveColumns> lists(kind.columns.begin(), kind.columns.end());
    const auto total = qint64(pages.size());
    ProgressPace pace(total);
    int found = 0;
    for (qint64 i = 0; i < total && !isCancelled(); ++i) {
        if (pace.isDue(i + 1))
            report(percentOf(i + 1, total), {});
        found += searchPage(kind, lists, pages[size_t(i)]);
    }
    return found;
}

int DeletedRowSearch::searchPage(const DeletedRowKind &kind, const std::vector<CarveColumns> &lists,
                                 quint32 pageNo)
{
    const Sqlite3Page page = file.readPage(pageNo);
    QList<Sqlite3RawRow> rows;
    for (const CarveColumns &columns : lists)
        rows += page.isBTreePage() ? file.carveFreeSpace(columns, 0, page, kind.filter)
                                   : file.carvePage(columns, 0, pageNo, 0, kind.filter);
    int found = 0;
    for (const Sqlite3RawRow &row : std::as_const(rows)) {
        if (isCancelled())
            break;
        found += kind.takeCarvedRow(row);
    }
    return found;
}

void DeletedRowSearch::report(int percent, const QString &text) const
{
    if (progress)
        progress->updateProgress({}, percent, text);
}
