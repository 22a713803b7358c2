#pragma once

#include <QtGlobal>

#include <limits>

// Phones since iOS 11 count nanoseconds where older ones counted seconds, and files that were carried over
// hold both: each value tells its own unit.

/// 2001-01-01 00:00:00 UTC, from which phones count, in seconds since 1970.
inline constexpr qint64 appleEpoch = 978307200;

/// From here on a value counts nanoseconds: as seconds it would lie 31,000 years ahead.
inline constexpr qint64 firstNanoseconds = 1'000'000'000'000;

/// A date column in whole seconds since 2001-01-01 00:00:00 UTC. 0, which means no date, for what lies
/// before 2001 or beyond what 32 bits hold (2069).
constexpr int wholeSeconds(qint64 value)
{
    const qint64 seconds = value >= firstNanoseconds ? value / 1'000'000'000 : value;
    return seconds > 0 && seconds <= std::numeric_limits<int>::max() ? int(seconds) : 0;
}

/// What a date column tells below the second; 0 where it counts seconds or is no date.
constexpr int nanosecondsOf(qint64 value)
{
    return value >= firstNanoseconds && wholeSeconds(value) != 0 ? int(value % 1'000'000'000) : 0;
}
