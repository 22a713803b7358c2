#pragma once

#include <optional>

/// The first of `count` rows that `matches`, from `start` down and then from the top to the row before
/// `start`; nothing when there is none.
template <typename Matches>
std::optional<int> searchWrapping(int count, int start, Matches matches)
{
    for (int row = start; row < count; ++row)
        if (matches(row))
            return row;
    for (int row = 0; row < start && row < count; ++row)
        if (matches(row))
            return row;
    return std::nullopt;
}
