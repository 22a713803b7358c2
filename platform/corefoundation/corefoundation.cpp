#include "values.h"

#include <QDateTime>
#include <QTimeZone>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

// The names of the maker's "CoreFoundation" that the program looks up, over values of our own. Contracts
// are those of its public documentation, as far as the program uses them: there is one allocator and one
// encoding of strings, UTF-8, and the arguments that choose others play no part.

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace
{

constexpr CFTypeID id(Kind kind)
{
    return CFTypeID(kind);
}

struct TimeZoneValue final : Value {
    explicit TimeZoneValue(const QTimeZone &inZone) : Value(Kind::TimeZone), zone(inZone) {}
    const QTimeZone zone;
};

template <typename Number>
Number readNumber(const void *source)
{
    Number number;
    std::memcpy(&number, source, sizeof number);
    return number;
}

template <typename Number>
bool writeNumber(void *target, const NumberValue &value)
{
    if constexpr (std::is_integral_v<Number>) {
        constexpr double end = -double(std::numeric_limits<Number>::min());
        if (value.isReal() && !(value.real >= -end && value.real < end))
            return false; // C++ has no meaning for this conversion
    }
    const Number number = value.isReal() ? Number(value.real) : Number(value.integer);
    std::memcpy(target, &number, sizeof number);
    using Widest = long double; // holds all of them as they are
    return Widest(number) == (value.isReal() ? Widest(value.real) : Widest(value.integer));
}

/// Types of C by the width that they have here.
CFNumberType sized(CFIndex type)
{
    switch (type) {
    case kCFNumberCharType: return kCFNumberSInt8Type;
    case kCFNumberShortType: return kCFNumberSInt16Type;
    case kCFNumberIntType: return kCFNumberSInt32Type;
    case kCFNumberLongType:
    case kCFNumberLongLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType: return kCFNumberSInt64Type;
    case kCFNumberFloatType: return kCFNumberFloat32Type;
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType: return kCFNumberFloat64Type;
    default: return CFNumberType(type);
    }
}

bool writeNumber(void *target, const NumberValue &value, CFNumberType type)
{
    switch (type) {
    case kCFNumberSInt8Type: return writeNumber<std::int8_t>(target, value);
    case kCFNumberSInt16Type: return writeNumber<std::int16_t>(target, value);
    case kCFNumberSInt32Type: return writeNumber<std::int32_t>(target, value);
    case kCFNumberSInt64Type: return writeNumber<std::int64_t>(target, value);
    case kCFNumberFloat32Type: return writeNumber<float>(target, value);
    case kCFNumberFloat64Type: return writeNumber<double>(target, value);
    default: return false;
    }
}

QDateTime dateTime(CFAbsoluteTime seconds)
{
    static const QDateTime epoch(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return epoch.addMSecs(qint64(std::floor(seconds)) * 1000);
}

QTimeZone zoneOf(CFTypeRef zone)
{
    const auto *value = as<TimeZoneValue>(zone);
    return value ? value->zone : QTimeZone::utc();
}

} // namespace

// Callbacks of containers: ours always share their values, so that these only have to be there.
EXPORTED const long kCFTypeDictionaryKeyCallBacks = 0;
EXPORTED const long kCFTypeDictionaryValueCallBacks = 0;
EXPORTED const long kCFTypeArrayCallBacks = 0;

EXPORTED const CFTypeRef kCFBooleanTrue = booleanValue(true);
EXPORTED const CFTypeRef kCFBooleanFalse = booleanValue(false);

EXPORTED void CFRelease(CFTypeRef ref)
{
    release(static_cast<const Value *>(ref));
}

EXPORTED CFTypeID CFGetTypeID(CFTypeRef ref)
{
    return ref ? id(static_cast<const Value *>(ref)->kind) : id(Kind::Null);
}

EXPORTED CFTypeID CFNullGetTypeID()
{
    return id(Kind::Null);
}

// Numbers and booleans

EXPORTED CFTypeID CFNumberGetTypeID()
{
    return id(Kind::Number);
}

EXPORTED CFTypeID CFBooleanGetTypeID()
{
    return id(Kind::Boolean);
}

EXPORTED CFTypeRef CFNumberCreate(CFTypeRef, CFIndex type, const void *source)
{
    const CFNumberType kept = sized(type);
    switch (kept) {
    case kCFNumberSInt8Type: return new NumberValue(kept, qint64(readNumber<std::int8_t>(source)));
    case kCFNumberSInt16Type: return new NumberValue(kept, qint64(readNumber<std::int16_t>(source)));
    case kCFNumberSInt32Type: return new NumberValue(kept, qint64(readNumber<std::int32_t>(source)));
    case kCFNumberSInt64Type: return new NumberValue(kept, qint64(readNumber<std::int64_t>(source)));
    case kCFNumberFloat32Type: return new NumberValue(kept, double(readNumber<float>(source)));
    case kCFNumberFloat64Type: return new NumberValue(kept, readNumber<double>(source));
    default: return nullptr;
    }
}

EXPORTED CFIndex CFNumberGetType(CFTypeRef ref)
{
    const auto *number = as<NumberValue>(ref);
    return number ? CFIndex(number->type) : 0;
}

/// True when nothing of the number was lost. A boolean reads as 0 or 1.
EXPORTED CFBoolean8 CFNumberGetValue(CFTypeRef ref, CFIndex type, void *target)
{
    if (const auto *boolean = as<BooleanValue>(ref))
        return writeNumber(target, NumberValue(kCFNumberSInt8Type, qint64(boolean->isTrue)), sized(type));
    const auto *number = as<NumberValue>(ref);
    return number && writeNumber(target, *number, sized(type));
}

// Strings

EXPORTED CFTypeID CFStringGetTypeID()
{
    return id(Kind::String);
}

/// In UTF-16 units.
EXPORTED CFIndex CFStringGetLength(CFTypeRef ref)
{
    const auto *string = as<StringValue>(ref);
    return string ? CFIndex(string->text.size()) : 0;
}

/// Returns how many UTF-16 units went into the buffer; without one only the bytes are counted.
EXPORTED CFIndex CFStringGetBytes(CFTypeRef ref, CFRange range, std::uint32_t, std::uint8_t, CFBoolean8,
                                  std::uint8_t *buffer, CFIndex room, CFIndex *used)
{
    const auto *string = as<StringValue>(ref);
    if (!string)
        return 0;
    const QStringView part = QStringView(string->text).mid(range.location, range.length);
    const QByteArray bytes = part.toUtf8();
    if (buffer && bytes.size() > room)
        return 0;
    if (buffer)
        std::memcpy(buffer, bytes.constData(), size_t(bytes.size()));
    if (used)
        *used = CFIndex(bytes.size());
    return CFIndex(part.size());
}

EXPORTED CFTypeRef CFStringCreateWithBytes(CFTypeRef, const std::uint8_t *bytes, CFIndex length,
                                           std::uint32_t, CFBoolean8)
{
    return new StringValue(QString::fromUtf8(reinterpret_cast<const char *>(bytes), length));
}

// Data

EXPORTED CFTypeID CFDataGetTypeID()
{
    return id(Kind::Data);
}

EXPORTED CFIndex CFDataGetLength(CFTypeRef ref)
{
    const auto *data = as<DataValue>(ref);
    return data ? CFIndex(data->bytes.size()) : 0;
}

EXPORTED void CFDataGetBytes(CFTypeRef ref, CFRange range, std::uint8_t *buffer)
{
    if (const auto *data = as<DataValue>(ref)) {
        const QByteArrayView part = QByteArrayView(data->bytes).sliced(range.location, range.length);
        std::memcpy(buffer, part.data(), size_t(part.size()));
    }
}

EXPORTED CFTypeRef CFDataCreate(CFTypeRef, const std::uint8_t *bytes, CFIndex length)
{
    return new DataValue(QByteArray(reinterpret_cast<const char *>(bytes), length));
}

// Dates

EXPORTED CFTypeID CFDateGetTypeID()
{
    return id(Kind::Date);
}

EXPORTED CFAbsoluteTime CFDateGetAbsoluteTime(CFTypeRef ref)
{
    const auto *date = as<DateValue>(ref);
    return date ? date->seconds : 0;
}

EXPORTED CFTypeRef CFDateCreate(CFTypeRef, CFAbsoluteTime seconds)
{
    return new DateValue(seconds);
}

/// A null zone is GMT.
EXPORTED CFGregorianDate CFAbsoluteTimeGetGregorianDate(CFAbsoluteTime seconds, CFTypeRef zone)
{
    const QDateTime there = dateTime(seconds).toTimeZone(zoneOf(zone));
    const QDate date = there.date();
    const QTime time = there.time();
    return {date.year(),
            std::int8_t(date.month()),
            std::int8_t(date.day()),
            std::int8_t(time.hour()),
            std::int8_t(time.minute()),
            time.second() + (seconds - std::floor(seconds))};
}

EXPORTED CFAbsoluteTime CFGregorianDateGetAbsoluteTime(CFGregorianDate date, CFTypeRef zone)
{
    const QDateTime there(QDate(date.year, date.month, date.day), QTime(date.hour, date.minute),
                          zoneOf(zone));
    return double(dateTime(0).msecsTo(there)) / 1000 + date.second;
}

EXPORTED CFTypeRef CFTimeZoneCreateWithTimeIntervalFromGMT(CFTypeRef, double seconds)
{
    const QTimeZone zone{int(seconds)};
    return zone.isValid() ? new TimeZoneValue(zone) : nullptr;
}

EXPORTED CFTypeRef CFTimeZoneCreateWithName(CFTypeRef, CFTypeRef name, CFBoolean8)
{
    const auto *string = as<StringValue>(name);
    const QTimeZone zone(string ? string->text.toUtf8() : QByteArray());
    return zone.isValid() ? new TimeZoneValue(zone) : nullptr;
}

// Dictionaries

EXPORTED CFTypeID CFDictionaryGetTypeID()
{
    return id(Kind::Dictionary);
}

EXPORTED CFTypeRef CFDictionaryCreateMutable(CFTypeRef, CFIndex, const void *, const void *)
{
    return new DictionaryValue;
}

EXPORTED CFIndex CFDictionaryGetCount(CFTypeRef ref)
{
    const auto *dictionary = as<DictionaryValue>(ref);
    return dictionary ? CFIndex(dictionary->keys.size()) : 0;
}

EXPORTED CFTypeRef CFDictionaryGetValue(CFTypeRef ref, CFTypeRef key)
{
    const auto *dictionary = as<DictionaryValue>(ref);
    const auto *string = as<StringValue>(key);
    return dictionary && string ? dictionary->value(string->text) : nullptr;
}

EXPORTED void CFDictionarySetValue(void *ref, CFTypeRef key, CFTypeRef value)
{
    auto *dictionary = dynamic_cast<DictionaryValue *>(static_cast<Value *>(ref));
    const auto *string = as<StringValue>(key);
    if (dictionary && string && value)
        dictionary->set(string, static_cast<const Value *>(value));
}

EXPORTED void CFDictionaryGetKeysAndValues(CFTypeRef ref, CFTypeRef *keys, CFTypeRef *values)
{
    const auto *dictionary = as<DictionaryValue>(ref);
    if (!dictionary)
        return;
    if (keys)
        std::copy(dictionary->keys.cbegin(), dictionary->keys.cend(), keys);
    if (values)
        std::copy(dictionary->items.cbegin(), dictionary->items.cend(), values);
}

// Arrays

EXPORTED CFTypeID CFArrayGetTypeID()
{
    return id(Kind::Array);
}

EXPORTED CFTypeRef CFArrayCreateMutable(CFTypeRef, CFIndex, const void *)
{
    return new ArrayValue;
}

EXPORTED CFIndex CFArrayGetCount(CFTypeRef ref)
{
    const auto *array = as<ArrayValue>(ref);
    return array ? CFIndex(array->items.size()) : 0;
}

/// Null past either end.
EXPORTED CFTypeRef CFArrayGetValueAtIndex(CFTypeRef ref, CFIndex index)
{
    const auto *array = as<ArrayValue>(ref);
    return array ? array->items.value(index) : nullptr;
}

EXPORTED void CFArrayAppendValue(void *ref, CFTypeRef value)
{
    if (auto *array = dynamic_cast<ArrayValue *>(static_cast<Value *>(ref)))
        array->append(static_cast<const Value *>(value));
}

// Property lists

EXPORTED CFTypeRef CFPropertyListCreateData(CFTypeRef, CFTypeRef ref, CFIndex format, CFOptionFlags,
                                            CFTypeRef *)
{
    const QByteArray bytes = propertyListBytes(static_cast<const Value *>(ref), format);
    return bytes.isEmpty() ? nullptr : new DataValue(bytes);
}

EXPORTED CFTypeRef CFPropertyListCreateWithData(CFTypeRef, CFTypeRef data, CFOptionFlags, CFIndex *,
                                                CFTypeRef *)
{
    const auto *bytes = as<DataValue>(data);
    return bytes ? propertyListValue(bytes->bytes) : nullptr;
}
