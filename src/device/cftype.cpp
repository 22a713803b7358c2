#include "device/cftype.h"

#include "device/corefoundationcall.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

/// The address of a data symbol.
const void *symbol(const char *name)
{
    const QFunctionPointer address = corefoundation_resolve(name);
    if (!address)
        throw std::runtime_error(std::string("The library of the phone's maker has no ") + name + ".");
    return reinterpret_cast<const void *>(address);
}

const void *dictionaryKeyCallBacks()
{
    static const void *const found = symbol("kCFTypeDictionaryKeyCallBacks");
    return found;
}

const void *dictionaryValueCallBacks()
{
    static const void *const found = symbol("kCFTypeDictionaryValueCallBacks");
    return found;
}

const void *arrayCallBacks()
{
    static const void *const found = symbol("kCFTypeArrayCallBacks");
    return found;
}

CFType newNumber(CFIndex type, const void *source)
{
    return CFType(
        cf<CFTypeRef(CFTypeRef, CFIndex, const void *)>("CFNumberCreate", anyAllocator, type, source), true);
}

} // namespace

CFHolder::~CFHolder()
{
    const QFunctionPointer release = corefoundation_resolve("CFRelease");
    if (ref && owned && release)
        reinterpret_cast<void (*)(CFTypeRef)>(release)(ref);
}

CFType::CFType(CFTypeRef reference, bool owned) : value(QSharedPointer<CFHolder>::create(reference, owned))
{
}

CFType::~CFType() = default;

CFType CFType::none()
{
    return CFType(nullptr, true);
}

CFType CFType::fromBool(bool isTrue)
{
    const void *place = symbol(isTrue ? "kCFBooleanTrue" : "kCFBooleanFalse");
    return CFType(*static_cast<const CFTypeRef *>(place), false);
}

CFType CFType::fromInt8(qint8 number)
{
    return newNumber(kCFNumberSInt8Type, &number);
}

CFType CFType::fromInt16(qint16 number)
{
    return newNumber(kCFNumberSInt16Type, &number);
}

CFType CFType::fromInt32(qint32 number)
{
    return newNumber(kCFNumberSInt32Type, &number);
}

CFType CFType::fromInt64(qint64 number)
{
    return newNumber(kCFNumberSInt64Type, &number);
}

CFType CFType::fromFloat(float number)
{
    return newNumber(kCFNumberFloat32Type, &number);
}

CFType CFType::fromDouble(double number)
{
    return newNumber(kCFNumberFloat64Type, &number);
}

CFType CFType::fromIndex(long number)
{
    const CFIndex index = number;
    return newNumber(kCFNumberCFIndexType, &index);
}

CFType CFType::fromString(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    const auto *start = reinterpret_cast<const std::uint8_t *>(utf8.constData());
    return CFType(cf<CFTypeRef(CFTypeRef, const std::uint8_t *, CFIndex, std::uint32_t, CFBoolean8)>(
                      "CFStringCreateWithBytes", anyAllocator, start, CFIndex(utf8.size()),
                      kCFStringEncodingUTF8, CFBoolean8(false)),
                  true);
}

CFType CFType::fromBytes(const QByteArray &data)
{
    const auto *start = reinterpret_cast<const std::uint8_t *>(data.constData());
    return CFType(cf<CFTypeRef(CFTypeRef, const std::uint8_t *, CFIndex)>("CFDataCreate", anyAllocator, start,
                                                                          CFIndex(data.size())),
                  true);
}

CFType CFType::fromDateTime(const QDateTime &dateTime)
{
    const QDate date = dateTime.date();
    const QTime time = dateTime.time();
    const CFGregorianDate fields = {date.year(),
                                    std::int8_t(date.month()),
                                    std::int8_t(date.day()),
                                    std::int8_t(time.hour()),
                                    std::int8_t(time.minute()),
                                    double(time.second())};
    const CFTypeRef greenwich = nullptr;
    const auto seconds =
        cf<CFAbsoluteTime(CFGregorianDate, CFTypeRef)>("CFGregorianDateGetAbsoluteTime", fields, greenwich);
    return CFType(cf<CFTypeRef(CFTypeRef, CFAbsoluteTime)>("CFDateCreate", anyAllocator, seconds), true);
}

CFType CFType::newDictionary()
{
    return CFType(cf<CFTypeRef(CFTypeRef, CFIndex, const void *, const void *)>(
                      "CFDictionaryCreateMutable", anyAllocator, 0, dictionaryKeyCallBacks(),
                      dictionaryValueCallBacks()),
                  true);
}

CFType CFType::newArray()
{
    return CFType(cf<CFTypeRef(CFTypeRef, CFIndex, const void *)>("CFArrayCreateMutable", anyAllocator, 0,
                                                                  arrayCallBacks()),
                  true);
}

CFType CFType::fromPropertyListBytes(const QByteArray &list)
{
    const CFType data = fromBytes(list);
    CFIndex *const anyFormat = nullptr;
    CFTypeRef *const noError = nullptr;
    return CFType(cf<CFTypeRef(CFTypeRef, CFTypeRef, CFOptionFlags, CFIndex *, CFTypeRef *)>(
                      "CFPropertyListCreateWithData", anyAllocator, data.ref(), 0, anyFormat, noError),
                  true);
}

CFType CFType::fromPropertyListFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? fromPropertyListBytes(file.readAll()) : none();
}

long CFType::dictionaryCount() const
{
    return isDictionary() ? cf<CFIndex(CFTypeRef)>("CFDictionaryGetCount", ref()) : 0;
}

CFType CFType::dictionaryValue(const CFType &key) const
{
    if (!isDictionary())
        return none();
    return CFType(cf<CFTypeRef(CFTypeRef, CFTypeRef)>("CFDictionaryGetValue", ref(), key.ref()), false);
}

CFType CFType::dictionaryValue(const QString &key) const
{
    return isDictionary() ? dictionaryValue(fromString(key)) : none();
}

QList<CFType> CFType::dictionaryKeys() const
{
    QList<CFTypeRef> refs(dictionaryCount());
    QList<CFType> keys;
    if (refs.isEmpty())
        return keys;
    CFTypeRef *const noValues = nullptr;
    cf<void(CFTypeRef, CFTypeRef *, CFTypeRef *)>("CFDictionaryGetKeysAndValues", ref(), refs.data(),
                                                  noValues);
    for (const CFTypeRef key : std::as_const(refs))
        keys.append(CFType(key, false));
    return keys;
}

long CFType::arrayCount() const
{
    return isArray() ? cf<CFIndex(CFTypeRef)>("CFArrayGetCount", ref()) : 0;
}

CFType CFType::arrayValue(long index) const
{
    if (!isArray())
        return none();
    return CFType(cf<CFTypeRef(CFTypeRef, CFIndex)>("CFArrayGetValueAtIndex", ref(), index), false);
}

void CFType::setDictionaryValue(const CFType &key, const CFType &entry)
{
    if (!isDictionary())
        return;
    dictionaryItems.insert(key.value, entry.value);
    cf<void(void *, CFTypeRef, CFTypeRef)>("CFDictionarySetValue", const_cast<void *>(ref()), key.ref(),
                                           entry.ref());
}

void CFType::append(const CFType &entry)
{
    if (!isArray())
        return;
    arrayItems.append(entry.value);
    cf<void(void *, CFTypeRef)>("CFArrayAppendValue", const_cast<void *>(ref()), entry.ref());
}

CFType CFType::propertyListData(int format) const
{
    if (!ref())
        return none();
    CFTypeRef *const noError = nullptr;
    return CFType(cf<CFTypeRef(CFTypeRef, CFTypeRef, CFIndex, CFOptionFlags, CFTypeRef *)>(
                      "CFPropertyListCreateData", anyAllocator, ref(), format, 0, noError),
                  true);
}

QByteArray CFType::toPropertyListBytes(int format) const
{
    return propertyListData(format).toByteArray();
}

CFType CFType::deepCopy() const
{
    return fromPropertyListBytes(toPropertyListBytes(kCFPropertyListXMLFormat_v1_0));
}
