#pragma once

#include "recovery/exact/exactscan.h"

// What the parts of the exact scan hand to each other.

/// A page to look through.
struct ExactScan::PageTask {
    QByteArrayView page; ///< its usable bytes
    quint32 number = 0;
    PageUse use = PageUse::Free;
    qsizetype usedBytes = 0;
    bool isOfTable = false;    ///< it is a leaf of one of the tables, and was written as such last
    bool hasLiveCells = false; ///< the cells of its array are rows that are there still
};

/// What may be a row, and by what it was found.
struct ExactScan::Piece {
    size_t table = 0;
    RowCandidate row;
    FindMethod method = FindMethod::Gap;
    bool isCell = false; ///< the page's own array names it
};

/// One state of the database, or pages of none.
struct ExactScan::Moment {
    /// In which way the pages of this state are in use: made when somebody asks, since it takes a walk.
    const LiveMap &liveMap(const std::atomic_bool *cancelled)
    {
        if (!map)
            map.emplace(*state, cancelled);
        return *map;
    }

    const DatabaseState *state = nullptr; ///< null for pages of no state
    int number = 0;
    FindOrigin origin = FindOrigin::MainFile;
    std::optional<LiveMap> map = {};
};
