#include "deletedrows.h"
#include "sqlite3file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 mostPages = 24;

/// A file in memory with the input as its content, by a path under which it can be opened.
QString fileWith(const unsigned char *data, size_t size)
{
    static const int descriptor = memfd_create("input", 0);
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) != ssize_t(size))
        abort();
    return u"/proc/self/fd/%1"_s.arg(descriptor);
}

void walkFreelist(const Sqlite3File &file)
{
    quint32 next = file.firstFreelistTrunk();
    for (quint32 steps = 0; next > 0 && steps < mostPages; ++steps) {
        const Sqlite3FreelistTrunk trunk = file.readFreelistTrunk(next);
        for (const quint32 leaf : trunk.leaves.first(std::min<qsizetype>(trunk.leaves.size(), mostPages)))
            file.collectLeafPages(file.readPage(leaf));
        next = trunk.nextTrunk;
    }
}

void walkPage(const Sqlite3File &file, const Sqlite3Page &page)
{
    for (const Sqlite3Page &leaf : file.collectLeafPages(page)) {
        if (!leaf.isLeafPage())
            abort();
        for (const qint64 cell : leaf.cells) {
            const Sqlite3RawRow row = file.rowData(file.readCell(leaf, cell));
            rowToIos6Message(row);
            rowToHandle(row);
        }
    }
}

void carve(const Sqlite3File &file, const Sqlite3Page &page, const QList<QList<_SqliteCol>> &lists,
           const Sqlite3File::RowFilter &filter)
{
    for (const QList<_SqliteCol> &columns : lists) {
        const auto check = [&](const Sqlite3RawRow &row) {
            if (row.values.size() != columns.size())
                abort();
            return filter(row);
        };
        file.carvePage(columns, 0, page.pageNo, 0, check);
        file.carveFreeSpace(columns, int(page.flags) % 5, page, check);
    }
}

} // namespace

/// The input is a database file.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const bool quiet = qputenv("QT_LOGGING_RULES", "default.warning=false");
    Q_UNUSED(quiet)
    Sqlite3File file(fileWith(data, size));
    try {
        file.open();
    } catch (const std::runtime_error &) {
        return 0;
    }
    walkFreelist(file);
    for (quint32 pageNo = 0; pageNo < mostPages; ++pageNo) {
        const Sqlite3Page page = file.readPage(pageNo);
        walkPage(file, page);
        carve(file, page, ios6MessageColumns(), isPlausibleIos6Row);
        carve(file, page, ios5MessageColumns(), isPlausibleIos5Row);
        carve(file, page, handleColumns(), isPlausibleHandleRow);
    }
    return 0;
}
