#pragma once

#include "app/appledates.h"

#include <QVariant>

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

/// A date in seconds, whatever the phone counts in.
inline int dateOf(const QVariant &value)
{
    return wholeSeconds(longOf(value));
}
