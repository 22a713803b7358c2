#pragma once

#include <QByteArrayView>

#include <optional>

/// What the last 32 bytes of a binary property list tell (CFBinaryPList.c of Apple's CoreFoundation
/// describes the format).
struct PlistTrailer {
    qsizetype offsetWidth = 0;    ///< bytes of an entry of the table, 1 to 8
    qsizetype referenceWidth = 0; ///< bytes of a reference to an object, 1 to 8
    quint64 objects = 0;
    quint64 rootObject = 0;  ///< its number, which may be wrong
    quint64 offsetTable = 0; ///< where the table begins, all of which lies inside the list
};

/// Nothing when `list` has no header or no sound trailer.
std::optional<PlistTrailer> readPlistTrailer(QByteArrayView list);
