#pragma once

#include "app/plisttrailer.h"

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// A binary property list, read where it lies: nothing is unfolded and nothing recurses, so that a small
/// one costs less than a microsecond and a hostile one nothing (CFBinaryPList.c of Apple's CoreFoundation
/// describes the format). Every offset, count and length is checked when it is followed.
class BinaryPlist
{
public:
    enum class Kind { Other, Integer, Data, Ascii, Utf16, Uid, Array, Dictionary };

    /// One object of the list. What can't be read is of kind `Other`, with nothing in it.
    struct Object {
        Kind kind = Kind::Other;
        quint64 number = 0;   ///< of an integer or a UID; the entries of an array or a dictionary
        QByteArrayView bytes; ///< of data and text; the references of an array or a dictionary
    };

    /// Nothing when `bytes` has no header or no sound trailer. The list points into `bytes`.
    static std::optional<BinaryPlist> open(QByteArrayView bytes);

    Object root() const { return object(trailer.rootObject); }
    /// The entry of an array.
    Object at(const Object &array, quint64 index) const;
    /// The value of a dictionary under a key of ASCII letters, the first if there are several. Looks at
    /// the first thousand keys.
    Object value(const Object &dictionary, QByteArrayView key) const;
    /// Key and value of a dictionary by position.
    Object key(const Object &dictionary, quint64 index) const;
    Object entry(const Object &dictionary, quint64 index) const;

private:
    BinaryPlist(QByteArrayView bytes, const PlistTrailer &lastBytes) : all(bytes), trailer(lastBytes) {}
    Object object(quint64 number) const;
    Object objectAt(qsizetype place) const;
    Object counted(Kind kind, qsizetype place) const;
    Object sized(Kind kind, quint64 count, qsizetype place) const;
    static quint64 integerAt(QByteArrayView bytes, qsizetype place, qsizetype width);
    Object referred(const Object &container, quint64 index) const;

    QByteArrayView all;
    PlistTrailer trailer;
};

/// A text object as UTF-8; empty for anything else.
QByteArray textOf(const BinaryPlist::Object &object);
