#include "app/plistguard.h"
#include "values.h"

#include <plist/plist.h>

#include <cmath>
#include <memory>

namespace
{

struct PlistFree {
    void operator()(void *node) const noexcept { plist_free(node); }
};
using PlistNode = std::unique_ptr<void, PlistFree>;

// From our values to libplist's.

plist_t toPlist(const Value *value);

plist_t toPlist(const ArrayValue &array)
{
    plist_t node = plist_new_array();
    for (const Value *item : array.items) {
        if (plist_t child = toPlist(item))
            plist_array_append_item(node, child);
    }
    return node;
}

plist_t toPlist(const DictionaryValue &dictionary)
{
    plist_t node = plist_new_dict();
    for (qsizetype i = 0; i < dictionary.keys.size(); ++i) {
        if (plist_t child = toPlist(dictionary.items.at(i)))
            plist_dict_set_item(node, dictionary.keys.at(i)->text.toUtf8().constData(), child);
    }
    return node;
}

plist_t toPlist(const DateValue &date)
{
    const double whole = std::floor(date.seconds);
    if (!(std::abs(whole) < INT32_MAX)) // libplist keeps 32 bits
        return nullptr;
    return plist_new_date(int32_t(whole), int32_t((date.seconds - whole) * 1e6));
}

plist_t toPlist(const NumberValue &number)
{
    return number.isReal() ? plist_new_real(number.real) : plist_new_uint(uint64_t(number.integer));
}

plist_t toPlist(const Value *value)
{
    if (const auto *boolean = as<BooleanValue>(value))
        return plist_new_bool(boolean->isTrue);
    if (const auto *number = as<NumberValue>(value))
        return toPlist(*number);
    if (const auto *string = as<StringValue>(value))
        return plist_new_string(string->text.toUtf8().constData());
    if (const auto *data = as<DataValue>(value))
        return plist_new_data(data->bytes.constData(), uint64_t(data->bytes.size()));
    if (const auto *date = as<DateValue>(value))
        return toPlist(*date);
    if (const auto *array = as<ArrayValue>(value))
        return toPlist(*array);
    if (const auto *dictionary = as<DictionaryValue>(value))
        return toPlist(*dictionary);
    return nullptr;
}

// From libplist's nodes to our values. The nesting is bounded: the bytes were looked at before.

const Value *toValue(plist_t node);

QString stringOf(plist_t node)
{
    uint64_t length = 0;
    const char *text = plist_get_string_ptr(node, &length);
    return QString::fromUtf8(text, qsizetype(length));
}

const Value *toArray(plist_t node)
{
    auto *array = new ArrayValue;
    plist_array_iter rawIterator = nullptr;
    plist_array_new_iter(node, &rawIterator);
    const std::unique_ptr<void, decltype(&free)> iterator(rawIterator, free);
    while (true) {
        plist_t child = nullptr;
        plist_array_next_item(node, iterator.get(), &child);
        if (!child)
            return array;
        const Value *item = toValue(child);
        array->append(item);
        release(item);
    }
}

const Value *toDictionary(plist_t node)
{
    auto *dictionary = new DictionaryValue;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(node, &rawIterator);
    const std::unique_ptr<void, decltype(&free)> iterator(rawIterator, free);
    while (true) {
        char *rawKey = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, iterator.get(), &rawKey, &child);
        const std::unique_ptr<char, decltype(&free)> key(rawKey, free);
        if (!child)
            return dictionary;
        const auto *keyValue = new StringValue(QString::fromUtf8(key.get()));
        const Value *item = toValue(child);
        dictionary->set(keyValue, item);
        release(keyValue);
        release(item);
    }
}

const Value *toNumber(plist_t node)
{
    uint64_t number = 0;
    plist_get_uint_val(node, &number);
    return new NumberValue(kCFNumberSInt64Type, qint64(number));
}

const Value *toReal(plist_t node)
{
    double number = 0;
    plist_get_real_val(node, &number);
    return new NumberValue(kCFNumberFloat64Type, number);
}

const Value *toDate(plist_t node)
{
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return new DateValue(seconds + microseconds / 1e6);
}

const Value *toBoolean(plist_t node)
{
    uint8_t isTrue = 0;
    plist_get_bool_val(node, &isTrue);
    return booleanValue(isTrue != 0);
}

const Value *toData(plist_t node)
{
    uint64_t length = 0;
    const char *bytes = plist_get_data_ptr(node, &length);
    return new DataValue(QByteArray(bytes, qsizetype(length)));
}

/// A kind that property lists of phones don't use comes out as an empty string.
const Value *toValue(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: return toBoolean(node);
    case PLIST_UINT: return toNumber(node);
    case PLIST_REAL: return toReal(node);
    case PLIST_STRING: return new StringValue(stringOf(node));
    case PLIST_DATA: return toData(node);
    case PLIST_DATE: return toDate(node);
    case PLIST_ARRAY: return toArray(node);
    case PLIST_DICT: return toDictionary(node);
    default: return new StringValue(QString());
    }
}

} // namespace

QByteArray propertyListBytes(const Value *value, CFIndex format)
{
    const PlistNode node(toPlist(value));
    if (!node)
        return {};
    char *raw = nullptr;
    uint32_t length = 0;
    if (format == kCFPropertyListBinaryFormat_v1_0)
        plist_to_bin(node.get(), &raw, &length);
    else
        plist_to_xml(node.get(), &raw, &length);
    const std::unique_ptr<char, decltype(&plist_to_xml_free)> bytes(raw, plist_to_xml_free);
    return QByteArray(bytes.get(), qsizetype(length));
}

const Value *propertyListValue(const QByteArray &bytes)
{
    const bool isBinary = bytes.startsWith("bplist00");
    if (bytes.isEmpty() ||
        !(isBinary ? isBoundedBinaryPlist(bytes, PlistKeys::Listable) : isBoundedXmlPlist(bytes)))
        return nullptr;
    plist_t parsed = nullptr;
    if (isBinary)
        plist_from_bin(bytes.constData(), uint32_t(bytes.size()), &parsed);
    else
        plist_from_xml(bytes.constData(), uint32_t(bytes.size()), &parsed);
    const PlistNode node(parsed);
    return node ? toValue(node.get()) : nullptr;
}
