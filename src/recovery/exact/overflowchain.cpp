#include "recovery/exact/overflowchain.h"

#include <algorithm>

namespace
{

constexpr qint64 longestChain = qint64(64) << 20;

template <typename IsAllowed>
OverflowChain follow(const DatabaseState &state, quint32 first, qint64 wanted, IsAllowed isAllowed)
{
    OverflowChain chain;
    if (wanted > longestChain)
        return chain;
    quint32 next = first;
    while (chain.content.size() < wanted && isAllowed(next) && !state.page(next).isEmpty()) {
        const QByteArrayView page = state.page(next);
        chain.content += page.sliced(4, std::min<qint64>(page.size() - 4, wanted - chain.content.size()));
        next = numberAt<quint32>(page, 0);
    }
    const bool isComplete = chain.content.size() == wanted;
    return isComplete && next != 0 ? OverflowChain() : chain;
}

} // namespace

OverflowChain OverflowChain::ofDeleted(const DatabaseState &state, const LiveMap &map, quint32 first,
                                       qint64 wanted)
{
    return follow(state, first, wanted, [&](quint32 page) { return map.use(page) == PageUse::Free; });
}

OverflowChain OverflowChain::ofLive(const DatabaseState &state, quint32 first, qint64 wanted)
{
    return follow(state, first, wanted, [](quint32) { return true; });
}
