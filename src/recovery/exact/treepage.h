#pragma once

#include "recovery/exact/sqliteformat.h"

#include <optional>
#include <vector>

/// A cell of a page, all places counted from the page's first byte.
struct TreeCell {
    qsizetype start = 0;
    qsizetype end = 0;     ///< behind its last byte in the page
    qsizetype payload = 0; ///< where the record begins
    qint64 payloadSize = 0;
    qint64 localSize = 0; ///< of that, here
    qint64 rowid = 0;
    quint32 leftChild = 0;
    quint32 overflow = 0; ///< the first overflow page, or 0
};

/// A page of a tree, with the cells that its array names and that lie whole within it.
struct TreePage {
    enum class Kind : quint8 { InteriorIndex = 2, InteriorTable = 5, LeafIndex = 10, LeafTable = 13 };

    Kind kind = Kind::LeafTable;
    quint32 rightChild = 0;
    qsizetype arrayEnd = 0; ///< behind the array of cells
    std::vector<TreeCell> cells;
    /// Places that nothing reaches over which is older than the page's present use: where the cells begin,
    /// and each freeblock. Ascending.
    std::vector<qsizetype> borders;

    bool isLeaf() const { return kind == Kind::LeafTable || kind == Kind::LeafIndex; }
    bool isTable() const { return kind == Kind::LeafTable || kind == Kind::InteriorTable; }

    /// Reads the usable bytes of a page; nothing where they aren't one of a tree.
    static std::optional<TreePage> read(QByteArrayView page, bool isFirst, const PageLayout &layout);
};

/// Columns that SQLite can be built for (https://www.sqlite.org/limits.html).
constexpr size_t mostColumns = 32767;

/// The serial types of a record, and where its values begin.
struct RecordHeader {
    std::vector<qint64> types;
    qint64 size = 0;    ///< bytes of the header
    qint64 content = 0; ///< bytes of all values

    /// Reads up to `mostTypes` at the front of `record`; nothing where the header isn't sound.
    static std::optional<RecordHeader> read(QByteArrayView record, size_t mostTypes);
};
