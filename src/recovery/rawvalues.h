#pragma once

#include <QVariant>

#include <limits>

// Values of raw rows as numbers. Damaged rows bring texts where numbers belong, and doubles without bound.

/// 0 for what is no integer.
inline qint64 longOf(const QVariant &value)
{
    return value.typeId() == QMetaType::Double ? 0 : value.toLongLong();
}

/// The lower 32 bits.
inline int intOf(const QVariant &value)
{
    return int(longOf(value));
}

/// A date in seconds. Newer phones count nanoseconds: what is too large for seconds is taken for those.
inline int dateOf(const QVariant &value)
{
    constexpr qint64 nanoseconds = 1'000'000'000;
    const qint64 date = longOf(value);
    return int(date > std::numeric_limits<int>::max() ? date / nanoseconds : date);
}
