#pragma once

#include "recovery/exact/databasestate.h"
#include "recovery/exact/treepage.h"

#include <QString>

#include <atomic>
#include <functional>
#include <vector>

/// What a page is in use for. Unknown is that of a page whose state of the database nobody has walked.
enum class PageUse : quint8 { Free, Tree, Overflow, Trunk, Fixed, Unknown };

/// A table or an index, as `sqlite_master` has it.
struct SchemaEntry {
    QString type;
    QString name;
    quint32 root = 0;
    QString sql;
};

/// Which bytes of a database are in use at one moment: a walk over all trees and the list of free pages.
/// Damage leaves parts out: what no tree leads to counts as free.
class LiveMap
{
public:
    /// Called with the number of a page of a tree and its content.
    using Visitor = std::function<void(quint32, const TreePage &)>;

    /// `source` has to outlive the map. The walk ends early once `*cancelled` is set; null for never.
    explicit LiveMap(const DatabaseState &source, const std::atomic_bool *cancelled = nullptr);

    PageUse use(quint32 page) const { return page < uses.size() ? uses[page] : PageUse::Fixed; }
    /// Bytes in use from the start of an overflow page or a page that lists free ones.
    qsizetype usedBytes(quint32 page) const { return page < used.size() ? qsizetype(used[page]) : 0; }
    const std::vector<SchemaEntry> &schema() const { return entries; }
    /// Null where there is none. The name's case plays no part.
    const SchemaEntry *table(QLatin1StringView name) const;
    /// The pages of the tree at `root`, the last child of each page included.
    void visitTree(quint32 root, const Visitor &visit) const;

private:
    bool isCancelled() const { return cancel && cancel->load(std::memory_order_relaxed); }
    void readSchema();
    void walk(quint32 root, std::vector<bool> &seen, const Visitor &visit) const;
    void mark(quint32 root, std::vector<bool> &seen);
    void markOverflow(const TreeCell &cell);
    void markFreelist();
    void markFixedPages();
    void claim(quint32 page, PageUse use, qsizetype bytes);

    const DatabaseState &state;
    const std::atomic_bool *cancel;
    std::vector<SchemaEntry> entries;
    std::vector<PageUse> uses;
    std::vector<quint32> used;
};

/// The payload of a cell with what lies on overflow pages; shorter where the chain ends early.
QByteArray wholePayload(const DatabaseState &state, quint32 pageNumber, const TreeCell &cell);
