#pragma once

#include "device/cftypes.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <atomic>

// The values behind the references: each counts its shares and goes with the last one.

enum class Kind : CFTypeID { Null = 1, Boolean, Number, String, Data, Date, TimeZone, Dictionary, Array };

struct Value {
    explicit Value(Kind ofKind) : kind(ofKind) {}
    Value(const Value &) = delete;
    Value &operator=(const Value &) = delete;
    virtual ~Value() = default;

    const Kind kind;
    mutable std::atomic<int> shares = 1;
};

/// Adds a share. Null is nothing and stays so.
const Value *retain(const Value *value);
/// Takes a share away. The two booleans live as long as the process.
void release(const Value *value);

struct BooleanValue final : Value {
    explicit BooleanValue(bool is) : Value(Kind::Boolean), isTrue(is) {}
    const bool isTrue;
};

struct NumberValue final : Value {
    NumberValue(CFNumberType ofType, qint64 number) : Value(Kind::Number), type(ofType), integer(number) {}
    NumberValue(CFNumberType ofType, double number) : Value(Kind::Number), type(ofType), real(number) {}

    bool isReal() const { return type == kCFNumberFloat32Type || type == kCFNumberFloat64Type; }

    const CFNumberType type; ///< one of the first six
    const qint64 integer = 0;
    const double real = 0;
};

struct StringValue final : Value {
    explicit StringValue(const QString &string) : Value(Kind::String), text(string) {}
    const QString text;
};

struct DataValue final : Value {
    explicit DataValue(const QByteArray &data) : Value(Kind::Data), bytes(data) {}
    const QByteArray bytes;
};

struct DateValue final : Value {
    explicit DateValue(CFAbsoluteTime time) : Value(Kind::Date), seconds(time) {}
    const CFAbsoluteTime seconds;
};

struct ArrayValue final : Value {
    ArrayValue() : Value(Kind::Array) {}
    ~ArrayValue() override;

    void append(const Value *value);

    QList<const Value *> items;
};

/// Keys are strings: a property list knows no other. They keep the order in which they came.
struct DictionaryValue final : Value {
    DictionaryValue() : Value(Kind::Dictionary) {}
    ~DictionaryValue() override;

    void set(const StringValue *key, const Value *value);
    const Value *value(const QString &key) const;

    QList<const StringValue *> keys;
    QList<const Value *> items; ///< of the key at the same place
    QHash<QString, qsizetype> places;
};

/// `ref` when it is a value of that kind, else null.
template <typename Kept>
const Kept *as(CFTypeRef ref)
{
    return dynamic_cast<const Kept *>(static_cast<const Value *>(ref));
}

/// The booleans that `kCFBooleanTrue` and `kCFBooleanFalse` point to.
const Value *booleanValue(bool isTrue);

/// XML or binary form; empty when `value` can't be written so.
QByteArray propertyListBytes(const Value *value, CFIndex format);
/// A new value, or null when `bytes` are no property list, nested too deep or of an absurd size.
const Value *propertyListValue(const QByteArray &bytes);
