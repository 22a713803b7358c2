#include "app/plistvalue.h"

#include "app/appledates.h"
#include "app/closer.h"
#include "app/plistguard.h"

#include <plist/plist.h>

#include <cmath>

namespace
{

constexpr double largestReal = 9.2e18; // of which the whole part fits 64 bits

} // namespace

PlistValue PlistValue::parse(const QByteArray &data, bool owns)
{
    const bool binary = data.size() > 8 && data.startsWith("bplist00");
    if (data.isEmpty() || !(binary ? isBoundedBinaryPlist(data) : isBoundedXmlPlist(data)))
        return {};
    plist_t parsed = nullptr;
    if (binary)
        plist_from_bin(data.constData(), uint32_t(data.size()), &parsed);
    else
        plist_from_xml(data.constData(), uint32_t(data.size()), &parsed);
    if (!parsed)
        return {};
    return PlistValue(owns ? std::shared_ptr<void>(parsed, plist_free)
                           : std::shared_ptr<void>(std::shared_ptr<void>(), parsed));
}

PlistValue PlistValue::newDictionary()
{
    return PlistValue(std::shared_ptr<void>(plist_new_dict(), plist_free));
}

PlistValue PlistValue::newArray()
{
    return PlistValue(std::shared_ptr<void>(plist_new_array(), plist_free));
}

PlistValue PlistValue::child(void *childNode) const
{
    return childNode ? PlistValue(std::shared_ptr<void>(node, childNode)) : PlistValue();
}

PlistValue PlistValue::value(const QString &key) const
{
    if (!isDictionary())
        return {};
    return child(plist_dict_get_item(node.get(), key.toUtf8().constData()));
}

PlistValue PlistValue::at(unsigned index) const
{
    if (!isArray() || index >= size())
        return {};
    return child(plist_array_get_item(node.get(), index));
}

unsigned PlistValue::size() const
{
    if (isArray())
        return plist_array_get_size(node.get());
    return isDictionary() ? plist_dict_get_size(node.get()) : 0;
}

bool PlistValue::isKind(int kind) const
{
    return node && plist_get_node_type(node.get()) == kind;
}

bool PlistValue::isBoolean() const
{
    return isKind(PLIST_BOOLEAN);
}

bool PlistValue::isInteger() const
{
    return isKind(PLIST_UINT);
}

bool PlistValue::isData() const
{
    return isKind(PLIST_DATA);
}

bool PlistValue::isDate() const
{
    return isKind(PLIST_DATE);
}

bool PlistValue::isString() const
{
    return isKind(PLIST_STRING);
}

bool PlistValue::isArray() const
{
    return isKind(PLIST_ARRAY);
}

bool PlistValue::isDictionary() const
{
    return isKind(PLIST_DICT);
}

bool PlistValue::toBool() const
{
    uint8_t value = 0;
    if (isBoolean())
        plist_get_bool_val(node.get(), &value);
    return value != 0;
}

qint64 PlistValue::toInt() const
{
    uint64_t value = 0;
    if (isInteger())
        plist_get_uint_val(node.get(), &value);
    return qint64(value);
}

qint64 PlistValue::toWholeNumber() const
{
    if (!isKind(PLIST_REAL))
        return toInt();
    double value = 0;
    plist_get_real_val(node.get(), &value);
    return std::abs(value) < largestReal ? qint64(value) : 0; // a NaN is not less either
}

QString PlistValue::toString() const
{
    if (!isString())
        return {};
    uint64_t length = 0;
    const char *text = plist_get_string_ptr(node.get(), &length);
    return QString::fromUtf8(text, text ? qsizetype(length) : 0);
}

QByteArray PlistValue::toByteArray() const
{
    if (!isData())
        return {};
    uint64_t length = 0;
    const char *bytes = plist_get_data_ptr(node.get(), &length);
    return QByteArray(bytes, bytes ? qsizetype(length) : 0);
}

QByteArray PlistValue::toBinary() const
{
    char *raw = nullptr;
    uint32_t length = 0;
    if (node)
        plist_to_bin(node.get(), &raw, &length);
    const std::unique_ptr<char, Closer<plist_to_bin_free>> bytes(raw);
    return QByteArray(bytes.get(), qsizetype(length));
}

QDateTime PlistValue::toDateTime() const
{
    if (!isDate())
        return {};
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node.get(), &seconds, &microseconds);
    return QDateTime::fromMSecsSinceEpoch(appleEpoch * 1000 + qint64(seconds) * 1000 + microseconds, Qt::UTC);
}
