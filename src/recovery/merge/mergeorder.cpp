#include "recovery/merge/mergeorder.h"

#include "store/records/messageorder.h"

#include <algorithm>
#include <queue>

namespace
{

bool standClose(const MergeItem &a, const MergeItem &b)
{
    return standClose(MessagePlace{a.rowid, a.date}, MessagePlace{b.rowid, b.date});
}

bool isOlder(const MergeItem &a, const MergeItem &b)
{
    return a.date < b.date;
}

/// Puts out rows of one file in their order: always the oldest one that no row close before it has to go
/// ahead of.
class FileOrder
{
public:
    explicit FileOrder(const std::vector<MergeItem> &byRowid) : rows(byRowid), waitsFor(rows.size(), 0)
    {
        for (size_t i = 0; i < rows.size(); ++i) {
            forEachCloseBehind(i, [this](size_t behind) { ++waitsFor[behind]; });
            if (waitsFor[i] == 0)
                free.push(i);
        }
    }

    std::vector<MergeItem> ordered()
    {
        std::vector<MergeItem> result;
        result.reserve(rows.size());
        while (!free.empty()) {
            const size_t next = free.top();
            free.pop();
            result.push_back(rows[next]);
            forEachCloseBehind(next, [this](size_t behind) {
                if (--waitsFor[behind] == 0)
                    free.push(behind);
            });
        }
        return result;
    }

private:
    template <typename Visit>
    void forEachCloseBehind(size_t i, Visit visit) const
    {
        if (rows[i].rowid == 0) // of these there may be many
            return;
        for (size_t k = i + 1; k < rows.size() && rows[k].rowid - rows[i].rowid <= nearRows; ++k) {
            if (standClose(rows[i], rows[k]))
                visit(k);
        }
    }

    struct IsLater {
        const std::vector<MergeItem> &rows;
        bool operator()(size_t a, size_t b) const
        {
            return rows[a].date != rows[b].date ? rows[a].date > rows[b].date : a > b;
        }
    };

    const std::vector<MergeItem> &rows;
    std::vector<int> waitsFor; ///< how many close rows have to go first
    std::priority_queue<size_t, std::vector<size_t>, IsLater> free{IsLater{rows}};
};

std::vector<MergeItem> ordered(const std::vector<MergeItem> &byRowid)
{
    // Most phones need nothing: their rows came in the order of their dates.
    const bool isOrdered = std::is_sorted(byRowid.begin(), byRowid.end(), isOlder);
    return isOrdered ? byRowid : FileOrder(byRowid).ordered();
}

} // namespace

bool mergesBefore(const MergeItem &a, const MergeItem &b)
{
    const bool isOfOneFile = !a.message == !b.message;
    if (isOfOneFile && standClose(a, b))
        return a.rowid < b.rowid;
    if (a.date != b.date)
        return a.date < b.date;
    return !a.message && b.message;
}

std::vector<MergeItem> mergeOrder(const std::vector<MergeItem> &phoneRows, std::vector<MergeItem> chosen)
{
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const MergeItem &a, const MergeItem &b) { return a.rowid < b.rowid; });
    chosen = ordered(chosen);
    std::vector<MergeItem> merged;
    merged.reserve(phoneRows.size() + chosen.size());
    auto next = chosen.cbegin();
    for (const MergeItem &row : ordered(phoneRows)) {
        while (next != chosen.cend() && isOlder(*next, row))
            merged.push_back(*next++);
        merged.push_back(row);
    }
    merged.insert(merged.end(), next, chosen.cend());
    return merged;
}
