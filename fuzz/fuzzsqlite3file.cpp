#include "recovery/carving/deletedrows.h"
#include "recovery/carving/sqlite3file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// A scan costs time for each byte, and short inputs show as much as long ones.
constexpr size_t longestInput = 4096;
constexpr quint32 mostPages = 8;
constexpr qsizetype mostCells = 100; // a page may name the same one thousands of times
constexpr size_t choicePlace = 60;   // in the file header, a number that the reader doesn't look at

/// A file in memory with the input as its content, by a path under which it can be opened.
QString fileWith(const unsigned char *data, size_t size)
{
    static const int descriptor = memfd_create("input", 0);
    static const QString path = u"/proc/self/fd/%1"_s.arg(descriptor);
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) != ssize_t(size))
        abort();
    return path;
}

/// What to look for: each input asks for one table.
struct Target {
    CarveColumns columns;
    bool (*isPlausible)(const Sqlite3RawRow &);
};

const Target &targetOf(unsigned char choice)
{
    static const std::vector<Target> targets = [] {
        std::vector<Target> all;
        for (const QList<_SqliteCol> &list : ios6MessageColumns())
            all.push_back({list, isPlausibleIos6Row});
        for (const QList<_SqliteCol> &list : ios5MessageColumns())
            all.push_back({list, isPlausibleIos5Row});
        for (const QList<_SqliteCol> &list : handleColumns())
            all.push_back({list, isPlausibleHandleRow});
        return all;
    }();
    return targets[choice % targets.size()];
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
        for (const qint64 cell : leaf.cells.first(std::min(leaf.cells.size(), mostCells))) {
            const Sqlite3RawRow row = file.rowData(file.readCell(leaf, cell));
            rowToIos6Message(row);
            rowToHandle(row);
        }
    }
}

void carve(const Sqlite3File &file, const Sqlite3Page &page, const Target &target)
{
    const auto check = [&](const Sqlite3RawRow &row) {
        if (row.values.size() != target.columns.size())
            abort();
        return target.isPlausible(row);
    };
    file.carvePage(target.columns, 0, page.pageNo, 0, check);
    file.carveFreeSpace(target.columns, int(page.flags) % 5, page, check);
}

} // namespace

/// The input is a database file.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const bool quiet = qputenv("QT_LOGGING_RULES", "default.warning=false");
    Q_UNUSED(quiet)
    size = std::min(size, longestInput);
    Sqlite3File file(fileWith(data, size));
    try {
        file.open();
    } catch (const std::runtime_error &) {
        return 0;
    }
    walkFreelist(file);
    const Target &target = targetOf(size > choicePlace ? data[choicePlace] : 0);
    for (quint32 pageNo = 0; pageNo < mostPages; ++pageNo) {
        const Sqlite3Page page = file.readPage(pageNo);
        walkPage(file, page);
        carve(file, page, target);
    }
    return 0;
}
