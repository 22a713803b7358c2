#include "device/cftype.h"

#include "device/corefoundationcall.h"

using namespace Qt::StringLiterals;

// What a value says, in the types of Qt.

CFTypeID CFType::typeId() const
{
    return ref() ? cf<CFTypeID(CFTypeRef)>("CFGetTypeID", ref()) : cf<CFTypeID()>("CFNullGetTypeID");
}

bool CFType::isOf(const char *kindName) const
{
    return ref() && typeId() == cf<CFTypeID()>(kindName);
}

bool CFType::isNumber() const
{
    return isOf("CFNumberGetTypeID");
}

bool CFType::isBoolean() const
{
    return isOf("CFBooleanGetTypeID");
}

bool CFType::isString() const
{
    return isOf("CFStringGetTypeID");
}

bool CFType::isData() const
{
    return isOf("CFDataGetTypeID");
}

bool CFType::isDate() const
{
    return isOf("CFDateGetTypeID");
}

bool CFType::isDictionary() const
{
    return isOf("CFDictionaryGetTypeID");
}

bool CFType::isArray() const
{
    return isOf("CFArrayGetTypeID");
}

template <typename Number>
Number CFType::numberOr(Number defaultValue, CFIndex type) const
{
    Number number = defaultValue;
    void *const target = &number;
    if (!isNumber() || !cf<CFBoolean8(CFTypeRef, CFIndex, void *)>("CFNumberGetValue", ref(), type, target))
        return defaultValue;
    return number;
}

int CFType::toInt(int defaultValue) const
{
    return numberOr<qint32>(defaultValue, kCFNumberSInt32Type);
}

qint64 CFType::toLongLong(qint64 defaultValue) const
{
    return numberOr<qint64>(defaultValue, kCFNumberSInt64Type);
}

double CFType::toDouble(double defaultValue) const
{
    return numberOr<double>(defaultValue, kCFNumberFloat64Type);
}

bool CFType::toBool(bool defaultValue) const
{
    if (!isBoolean())
        return defaultValue;
    qint8 byte = defaultValue;
    void *const target = &byte;
    cf<CFBoolean8(CFTypeRef, CFIndex, void *)>("CFNumberGetValue", ref(), CFIndex(kCFNumberSInt8Type),
                                               target);
    return byte != 0;
}

long CFType::stringLength() const
{
    return isString() ? cf<CFIndex(CFTypeRef)>("CFStringGetLength", ref()) : 0;
}

QString CFType::toQString() const
{
    const CFRange all = {0, stringLength()};
    const auto convert = [&](std::uint8_t *buffer, CFIndex room, CFIndex *used) {
        return cf<CFIndex(CFTypeRef, CFRange, std::uint32_t, std::uint8_t, CFBoolean8, std::uint8_t *,
                          CFIndex, CFIndex *)>("CFStringGetBytes", ref(), all, kCFStringEncodingUTF8,
                                               std::uint8_t('?'), CFBoolean8(false), buffer, room, used);
    };
    CFIndex size = 0;
    if (all.length == 0 || convert(nullptr, 0, &size) == 0)
        return {};
    QByteArray utf8(size, Qt::Uninitialized);
    if (convert(reinterpret_cast<std::uint8_t *>(utf8.data()), size, &size) == 0)
        return {};
    return QString::fromUtf8(utf8.constData(), size);
}

long CFType::dataLength() const
{
    return isData() ? cf<CFIndex(CFTypeRef)>("CFDataGetLength", ref()) : 0;
}

QByteArray CFType::toByteArray() const
{
    const CFRange all = {0, dataLength()};
    QByteArray data(all.length, Qt::Uninitialized);
    if (all.length > 0)
        cf<void(CFTypeRef, CFRange, std::uint8_t *)>("CFDataGetBytes", ref(), all,
                                                     reinterpret_cast<std::uint8_t *>(data.data()));
    return data;
}

QDateTime CFType::toDateTime(CFTypeRef zone) const
{
    if (!isDate())
        return {};
    const auto seconds = cf<CFAbsoluteTime(CFTypeRef)>("CFDateGetAbsoluteTime", ref());
    const auto fields =
        cf<CFGregorianDate(CFAbsoluteTime, CFTypeRef)>("CFAbsoluteTimeGetGregorianDate", seconds, zone);
    return QDateTime(QDate(fields.year, fields.month, fields.day),
                     QTime(fields.hour, fields.minute, int(fields.second)), Qt::LocalTime);
}

QDateTime CFType::toDateTime(double secondsFromGmt) const
{
    const CFHolder zone(cf<CFTypeRef(CFTypeRef, double)>("CFTimeZoneCreateWithTimeIntervalFromGMT",
                                                         anyAllocator, secondsFromGmt),
                        true);
    return toDateTime(zone.ref);
}

QDateTime CFType::toDateTime(const QString &zoneName) const
{
    if (zoneName.isEmpty())
        return toDateTime(CFTypeRef(nullptr));
    const CFType name = fromString(zoneName);
    const CFHolder zone(cf<CFTypeRef(CFTypeRef, CFTypeRef, CFBoolean8)>(
                            "CFTimeZoneCreateWithName", anyAllocator, name.ref(), CFBoolean8(true)),
                        true);
    return toDateTime(zone.ref);
}

QString CFType::toText() const
{
    if (isString())
        return toQString();
    if (isBoolean())
        return toBool(false) ? u"1"_s : u"0"_s;
    if (isDate())
        return toDateTime(CFTypeRef(nullptr)).toString();
    if (isData())
        return QString::fromUtf8(toByteArray());
    if (!isNumber())
        return {};
    switch (cf<CFIndex(CFTypeRef)>("CFNumberGetType", ref())) {
    case kCFNumberFloat32Type:
    case kCFNumberFloat64Type:
    case kCFNumberFloatType:
    case kCFNumberDoubleType: return QString::number(toDouble(0));
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType: return QString::number(toLongLong(0));
    default: return QString::number(toInt(0));
    }
}
