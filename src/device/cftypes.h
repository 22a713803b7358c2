#pragma once

#include <cstdint>

// What crosses the border to the "CoreFoundation" library, in that library's own names and layouts (the
// public headers of CoreFoundation describe them). Values are pointers to nothing that is known here.

using CFTypeRef = const void *;
using CFIndex = std::intptr_t; ///< as wide as a pointer, also where `long` isn't
using CFTypeID = std::uintptr_t;
using CFOptionFlags = std::uintptr_t;
using CFBoolean8 = unsigned char; ///< `Boolean` there
using CFAbsoluteTime = double;    ///< seconds since 2001-01-01 00:00:00 UTC

struct CFRange {
    CFIndex location;
    CFIndex length;
};

struct CFGregorianDate {
    std::int32_t year;
    std::int8_t month; ///< 1 to 12
    std::int8_t day;   ///< 1 to 31
    std::int8_t hour;
    std::int8_t minute;
    double second;
};

/// Kinds of numbers, those of this program's own use and those that a phone's answer may hold.
enum CFNumberType : CFIndex {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
};

inline constexpr std::uint32_t kCFStringEncodingUTF8 = 0x08000100;

/// Forms of a property list on the wire.
enum CFPropertyListFormat : CFIndex {
    kCFPropertyListXMLFormat_v1_0 = 100,
    kCFPropertyListBinaryFormat_v1_0 = 200,
};
