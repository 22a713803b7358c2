#pragma once

#include "app/binaryplist.h"

#include <QVariant>

#include <limits>
#include <optional>

// Archives of NSKeyedArchiver: a property list of an array "$objects", whose entries refer to each other by
// UID, and "$top", which names the roots. The first object stands for nothing.

/// An archive in the binary form, read where it lies: for archives by the hundred thousand of which few
/// fields are wanted.
class KeyedArchive
{
public:
    using Object = BinaryPlist::Object;

    /// Nothing when `archive` is no such list. The archive points into it.
    static std::optional<KeyedArchive> open(QByteArrayView archive);

    const BinaryPlist &list() const { return plist; }
    /// What "$top" names as "root", else as "dd-result" (of a data detector), else what it names first: a
    /// UID.
    Object rootReference() const;
    Object root() const { return resolved(rootReference()); }
    /// The number that a UID tells, or the dictionary of one "CF$UID" that stands for it in an XML list.
    std::optional<quint64> reference(const Object &object) const;
    /// What a UID stands for; anything else stands for itself. No archive has a UID that leads to another
    /// one, so that one step is enough.
    Object resolved(const Object &object) const;
    /// Bytes, either bare or in an NSData.
    QByteArrayView data(const Object &value) const;
    /// 0 for what is no number or doesn't fit.
    template <typename Integer>
    Integer number(const Object &value) const
    {
        const Object object = resolved(value);
        const bool fits =
            object.kind == BinaryPlist::Kind::Integer && object.number <= std::numeric_limits<Integer>::max();
        return fits ? Integer(object.number) : Integer(0);
    }

private:
    explicit KeyedArchive(const BinaryPlist &archive);

    BinaryPlist plist;
    Object objects;
};

/// What a property list, binary or XML, holds: of a keyed archive its root with all references followed, of
/// any other the list itself.
///
/// Dictionaries and records are a QVariantMap, a record's class stands in it under "$class"; keys that are
/// numbers become decimal text. Arrays and sets are a QVariantList. Text and addresses are a QString
/// (an address is resolved against its base), data a QByteArray, dates a QDateTime in UTC, numbers a bool,
/// qint64 or double. What is missing, wrong, leads back into itself or lies too deep is invalid, and nothing
/// else suffers from it. Never throws, takes memory of the order of the list's size.
QVariant readPlistTree(const QByteArray &bytes);

/// The value that a path of keys leads to, such as "userInfo/caption"; invalid where there is none.
QVariant valueAt(const QVariant &tree, QStringView path);
QString textAt(const QVariant &tree, QStringView path);
