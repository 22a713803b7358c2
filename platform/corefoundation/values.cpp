#include "values.h"

const Value *retain(const Value *value)
{
    if (value)
        value->shares.fetch_add(1, std::memory_order_relaxed);
    return value;
}

void release(const Value *value)
{
    if (!value || value->kind == Kind::Boolean)
        return;
    if (value->shares.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete value;
}

ArrayValue::~ArrayValue()
{
    for (const Value *item : std::as_const(items))
        release(item);
}

void ArrayValue::append(const Value *value)
{
    items.append(retain(value));
}

DictionaryValue::~DictionaryValue()
{
    for (const StringValue *key : std::as_const(keys))
        release(key);
    for (const Value *item : std::as_const(items))
        release(item);
}

void DictionaryValue::set(const StringValue *key, const Value *value)
{
    retain(value); // first: it may be the one that is replaced
    const auto place = places.constFind(key->text);
    if (place != places.cend()) {
        release(items.at(*place));
        items[*place] = value;
        return;
    }
    places.insert(key->text, keys.size());
    keys.append(static_cast<const StringValue *>(retain(key)));
    items.append(value);
}

const Value *DictionaryValue::value(const QString &key) const
{
    const auto place = places.constFind(key);
    return place == places.cend() ? nullptr : items.at(*place);
}

const Value *booleanValue(bool isTrue)
{
    static const BooleanValue yes(true);
    static const BooleanValue no(false);
    return isTrue ? &yes : &no;
}
