#include "store/records/guidindex.h"

#include <bit>

namespace
{

/// Places of guids in a list, by hash.
class Wanted
{
public:
    explicit Wanted(const QStringList &list)
        : guids(list), table(std::bit_ceil(size_t(list.size()) * 4)), first(list.size())
    {
        for (qsizetype i = 0; i < guids.size(); ++i) {
            const size_t hash = GuidIndex::hashOf(guids.at(i));
            Slot &slot = slotOf(hash, guids.at(i));
            if (slot.place < 0)
                slot = {hash, i};
            first[i] = slot.place;
        }
    }

    /// Where `guid` stands first; -1 when nobody wants it. It is looked at only where the hash is right.
    qsizetype placeOf(size_t hash, const QString &guid) { return slotOf(hash, guid).place; }
    qsizetype firstEqual(qsizetype place) const { return first.at(place); }

private:
    struct Slot {
        size_t hash = 0;
        qsizetype place = -1;
    };

    /// That of the guid, or the empty one where it would go.
    Slot &slotOf(size_t hash, const QString &guid)
    {
        for (size_t at = hash;; ++at) {
            Slot &slot = table[at & (table.size() - 1)];
            if (slot.place < 0 || (slot.hash == hash && guids.at(slot.place) == guid))
                return slot;
        }
    }

    const QStringList &guids;
    std::vector<Slot> table; // a quarter full at most
    QList<qsizetype> first;
};

} // namespace

GuidIndex::GuidIndex(const _MsgStore &store)
{
    entries.reserve(size_t(store.messages.size()));
    for (_MsgMessage *message : store.messages)
        add(*message);
}

QList<_MsgMessage *> GuidIndex::find(const QStringList &guids) const
{
    QList<_MsgMessage *> found(guids.size());
    if (guids.isEmpty())
        return found;
    Wanted wanted(guids);
    for (const auto &[hash, message] : entries) {
        const qsizetype place = wanted.placeOf(hash, message->guid);
        if (place >= 0 && (!found.at(place) || message->rowid < found.at(place)->rowid))
            found[place] = message;
    }
    for (qsizetype i = 0; i < guids.size(); ++i)
        found[i] = found.at(wanted.firstEqual(i));
    return found;
}
