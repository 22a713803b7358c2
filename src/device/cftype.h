#pragma once

#include "device/cftypes.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSharedPointer>
#include <QString>

/// A reference of the "CoreFoundation" library. The last share gives an owned one back.
struct CFHolder {
    CFHolder(CFTypeRef reference, bool isOwned) : ref(reference), owned(isOwned) {}
    CFHolder(const CFHolder &) = delete;
    CFHolder &operator=(const CFHolder &) = delete;
    ~CFHolder();

    const CFTypeRef ref; ///< may be null
    const bool owned;
};

/// A value of a property list that is exchanged with a phone. Copies share the value. Nothing here reports
/// a failure: a read of the wrong kind gives the default of its kind, what can't be made holds a null
/// reference, and the kind of what one gets back tells. One thread at a time uses a value and those in it.
///
/// All calls need the library (see `mobiledevice_load_frameworks`) and throw `std::runtime_error` when it
/// lacks a name.
class CFType
{
public:
    /// With `owned` the reference is released together with the last share.
    CFType(CFTypeRef reference, bool owned);
    virtual ~CFType();
    CFType(const CFType &) = default;
    CFType &operator=(const CFType &) = default;

    /// A null reference.
    static CFType none();
    static CFType fromBool(bool isTrue);
    static CFType fromInt8(qint8 number);
    static CFType fromInt16(qint16 number);
    static CFType fromInt32(qint32 number);
    static CFType fromInt64(qint64 number);
    static CFType fromFloat(float number);
    static CFType fromDouble(double number);
    static CFType fromIndex(long number);
    static CFType fromString(const QString &text);
    static CFType fromBytes(const QByteArray &data);
    /// Date and time of day as they stand, taken for GMT, without fractions of seconds.
    static CFType fromDateTime(const QDateTime &dateTime);
    static CFType newDictionary();
    static CFType newArray();
    /// XML or binary form. A null reference when the bytes are no property list, or the file can't be read.
    static CFType fromPropertyListBytes(const QByteArray &list);
    static CFType fromPropertyListFile(const QString &path);

    CFTypeRef ref() const { return value->ref; }
    CFTypeID typeId() const;

    bool isNumber() const;
    bool isBoolean() const;
    bool isString() const;
    bool isData() const;
    bool isDate() const;
    bool isDictionary() const;
    bool isArray() const;

    int toInt(int defaultValue) const;
    qint64 toLongLong(qint64 defaultValue) const;
    double toDouble(double defaultValue) const;
    /// Of a boolean only; a number gives the default.
    bool toBool(bool defaultValue) const;
    long stringLength() const; ///< UTF-16 units
    QString toQString() const;
    long dataLength() const; ///< bytes
    QByteArray toByteArray() const;
    /// The fields of the date in that zone (null: GMT), stamped as local time: nothing shifts them again.
    QDateTime toDateTime(CFTypeRef zone) const;
    QDateTime toDateTime(double secondsFromGmt) const;
    QDateTime toDateTime(const QString &zoneName) const;
    /// Any scalar in words; empty for containers and null.
    QString toText() const;

    // A value taken out of a container lives as long as the container does.

    long dictionaryCount() const;
    CFType dictionaryValue(const CFType &key) const;
    CFType dictionaryValue(const QString &key) const;
    QList<CFType> dictionaryKeys() const;
    long arrayCount() const;
    CFType arrayValue(long index) const;

    /// No effect on anything but a dictionary.
    void setDictionaryValue(const CFType &key, const CFType &entry);
    /// No effect on anything but an array.
    void append(const CFType &entry);

    /// `format` is one of `CFPropertyListFormat`.
    CFType propertyListData(int format) const;
    QByteArray toPropertyListBytes(int format) const;
    /// A tree of its own, by way of the XML form. Null for what that form can't hold.
    CFType deepCopy() const;

private:
    bool isOf(const char *kindName) const;
    template <typename Number>
    Number numberOr(Number defaultValue, CFIndex type) const;

    QSharedPointer<CFHolder> value;
    // Keep the wrappers alive of what was put into this container.
    QMap<QSharedPointer<CFHolder>, QSharedPointer<CFHolder>> dictionaryItems;
    QList<QSharedPointer<CFHolder>> arrayItems;
    QByteArray bytes;
};
