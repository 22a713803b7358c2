#pragma once

#include "recovery/carving/carvecolumns.h"

#include <QByteArrayView>
#include <QFile>
#include <QList>
#include <QSet>
#include <QVariant>

#include <atomic>
#include <functional>
#include <vector>

/// One page of a tree. Places are counted in bytes from the start of the file, as all that follow.
struct Sqlite3Page {
    qint16 firstFreeblock = 0;
    qint16 contentStart = 0; ///< of the cells, from the start of the page
    quint8 flags = 0;        ///< the kind of page
    quint8 fragmentedBytes = 0;
    quint32 rightChild = 0; ///< read and kept, never followed
    quint32 pageNo = 0;     ///< from 1
    qint64 base = 0;        ///< place of the first byte
    qint64 header = 0;      ///< place of the header: the same but on page 1
    QList<qint64> cells;    ///< places, in the order of the page's array
    QList<qint64> freeblocks;

    bool isBTreePage() const { return (flags & ~8) == 2 || flags == 5 || flags == 13; }
    bool isIndexPage() const { return flags & 2; }
    bool isLeafPage() const { return flags & 8; }
};

/// One cell of such a page.
struct Sqlite3Cell {
    qint64 rowid = 0;
    qint64 payloadSize = 0;
    qint32 localSize = 0;     ///< bytes of it in the page
    quint32 leftChild = 0;    ///< interior pages only
    quint32 overflowPage = 0; ///< the first one, or 0
    qint32 cellSize = 0;      ///< bytes of the cell's head and local payload, as far as they were read
    qint64 payload = 0;       ///< place of its first byte
};

/// A page that lists free pages.
struct Sqlite3FreelistTrunk {
    quint32 pageNo = 0;
    qint64 base = 0;
    quint32 nextTrunk = 0;
    QList<quint32> leaves;
};

/// A row as its bytes tell it. Values are null, 32-bit or 64-bit integers, doubles, strings or byte arrays.
struct Sqlite3RawRow {
    qint64 rowid = 0;
    QList<QVariant> values;
    qsizetype lastColumn = -1; ///< of a number that ends with the row, 0 in `values`; -1 for none
    qint64 lastNumber = 0;     ///< that number

    /// Adds values of these serial types, which stand one behind the other from `start` on in `content`.
    /// `whole` is the content again, with its last byte where that is missing: for `lastNumber` only.
    void append(QByteArrayView content, qint64 start, const std::vector<qint64> &types, QByteArrayView whole);
};

/// Reads the bytes of an SQLite file without SQLite, to find rows that SQLite doesn't see any more. It
/// never writes. Damaged or hostile content gives short rows, warnings or no rows; walks end where they
/// would run in a circle or leave the file.
///
/// It reads the format in ways of its own: numbers of variable length, three and six byte integers and
/// doubles differ from SQLite's (see rawreads.h), the last child of an interior page isn't visited, and
/// the overflow page of a carved record is looked for behind its types.
class Sqlite3File : public QFile
{
public:
    using RowFilter = std::function<bool(const Sqlite3RawRow &)>; ///< null keeps every row
    /// Answers whether to go on.
    using PageVisitor = std::function<bool(const Sqlite3Page &)>;

    explicit Sqlite3File(const QString &fileName);

    static constexpr int smallestRealPage = 512;
    /// Bytes. A longer one is damage; SQLite takes a text of this length, whatever becomes of it.
    static constexpr qint64 longestRecord = qint64(64) << 20;

    using QFile::open;
    /// Maps the file; comes before anything else. Nobody may write to the file while this object lives.
    /// Throws `std::runtime_error`.
    void open();
    /// Scans end early once `*flag` is set. Not owned; null for none.
    void setCancelFlag(const std::atomic_bool *flag) { cancelled = flag; }

    /// Whole pages in the file.
    qint32 pageCount() const;
    quint32 firstFreelistTrunk() const;
    quint32 freelistPageCount() const;

    /// A page that is outside of the file or none of a tree has no cells and no freeblocks.
    Sqlite3Page readPage(quint32 pageNo) const;
    /// The cell at the place `address`.
    Sqlite3Cell readCell(const Sqlite3Page &page, qint64 address) const;
    QByteArray readPayload(const Sqlite3Cell &cell) const;
    Sqlite3RawRow rowData(const Sqlite3Cell &cell) const;
    Sqlite3FreelistTrunk readFreelistTrunk(quint32 pageNo) const;

    /// The leaves below `page`, or itself, but for those below the last child of an interior page.
    QList<Sqlite3Page> collectLeafPages(const Sqlite3Page &page) const;
    /// The same, one by one. Pages in `seen` are passed over, and those visited are added to it.
    void visitLeafPages(const Sqlite3Page &page, QSet<quint32> &seen, const PageVisitor &visit) const;

    /// What looks like rows of `tbCols` in a whole page, from `offset` on and as many bytes into the next.
    /// `firstColumnLength` is the length of the first column's content, 0 for a row number.
    QList<Sqlite3RawRow> carvePage(const CarveColumns &tbCols, int firstColumnLength, quint32 pageNo,
                                   int offset, const RowFilter &rowFilter) const;
    /// The same in the unused bytes of a leaf. A page that is none is scanned whole.
    QList<Sqlite3RawRow> carveFreeSpace(const CarveColumns &tbCols, int firstColumnLength,
                                        const Sqlite3Page &page, const RowFilter &rowFilter) const;
    /// The same between two places; `usableSize` is the size of a page.
    QList<Sqlite3RawRow> carveRange(const CarveColumns &tbCols, int firstColumnLength, int usableSize,
                                    qint64 start, qint64 end, const RowFilter &rowFilter) const;

private:
    friend class CandidateScan;

    static constexpr qint64 fileHeaderLength = 100;

    QByteArrayView all() const { return {mapBegin, fileSize}; }
    bool isCancelled() const { return cancelled && cancelled->load(std::memory_order_relaxed); }
    qint64 placeOf(quint32 pageNo) const { return (qint64(pageNo) - 1) * pageSize; }
    void readCellPointers(Sqlite3Page &page) const;
    void readFreeblocks(Sqlite3Page &page) const;
    void readLocalSize(const Sqlite3Page &page, Sqlite3Cell &cell) const;

    qint64 fileSize = 0;
    const char *mapBegin = nullptr;
    const char *mapEnd = nullptr;
    qint16 pageSize = 0;
    const std::atomic_bool *cancelled = nullptr;
};
