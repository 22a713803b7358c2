#pragma once

#include "recovery/exact/tableshape.h"

#include <optional>

/// A place in a page where a row's types stand, with what proves where its cell begins.
struct RowCandidate {
    qsizetype start = 0;   ///< of the cell, from the page's first byte, as the other places
    qsizetype content = 0; ///< of its values
    qsizetype end = 0;     ///< behind the last byte that is still its own
    qint64 payloadSize = 0;
    qint64 localSize = 0;
    qint64 rowid = 0;    ///< 0 when the head that had it is gone
    RecordHeader header; ///< the row number's type, which stands as NULL, included

    bool isRest() const { return header.types.empty(); }
};

/// Finds rows of one shape in bytes that are in use for nothing. A row is told by the types of all its
/// values, each of which fits its column, and by one of two ways in which its cell may begin:
/// - payload size, row number and header length stand ahead of the types and agree with what these add up to;
/// - the first four bytes were given to the head of a freeblock (the next one, 0 or behind it, and a size),
///   and what is left of the rest agrees. A size that is too small says that the end was given away again.
class RowFinder
{
public:
    RowFinder(const TableShape &rowShape, const PageLayout &pageLayout);

    /// The rows of `page`, its usable bytes, that begin between `start` and `end`. What lies behind `end`
    /// belongs to something else. A row of which only the first types are left has no values and ends where
    /// it begins: it shows how far another one still reaches.
    std::vector<RowCandidate> find(QByteArrayView page, qsizetype start, qsizetype end) const;
    /// The row whose cell the page's own array names.
    std::optional<RowCandidate> inCell(QByteArrayView page, const TreeCell &cell) const;

private:
    struct Range {
        QByteArrayView page;
        qsizetype start;
        qsizetype end;
    };

    qsizetype nextAnchor(const Range &range, qsizetype from) const;
    std::optional<RowCandidate> at(const Range &range, qsizetype types) const;
    std::optional<RowCandidate> withCount(const Range &range, qsizetype types,
                                          const RecordHeader &header) const;
    std::optional<RowCandidate> restOfRow(const Range &range, qsizetype types) const;
    qsizetype startOfRest(const Range &range, qsizetype types) const;
    bool findWholeHead(const Range &range, qsizetype types, RowCandidate &row) const;
    bool findFreedHead(const Range &range, qsizetype types, RowCandidate &row) const;
    bool isRestOfHead(const Range &range, qsizetype start, qsizetype headerStart,
                      const RowCandidate &row) const;

    const TableShape &shape;
    PageLayout layout;
    bool hasGuid; ///< its second column is one, of 36 characters
};

/// Whether `bytes` begin with a guid as phones write it.
bool beginsWithGuid(QByteArrayView bytes);
