#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// Largest property list that is read at all, in bytes.
inline constexpr qsizetype largestPlist = 64 * 1024 * 1024;

/// A binary property list, read where it lies: nothing is unfolded and nothing recurses, so that a small
/// one costs less than a microsecond and a hostile one nothing (CFBinaryPList.c of Apple's CoreFoundation
/// describes the format). Every offset, count and length is checked when it is followed.
class BinaryPlist
{
public:
    enum class Kind {
        Damaged, ///< it isn't there, or not whole
        Other,   ///< what no phone's list has
        Boolean,
        Integer,
        Real,
        Date,
        Data,
        Ascii,
        Utf16,
        Uid,
        Array,
        Dictionary
    };

    /// One object of the list. What can't be read is of kind `Damaged`, with nothing in it.
    struct Object {
        Kind kind = Kind::Damaged;
        quint64 number = 0;   ///< of an integer, a boolean or a UID; the entries of an array or a dictionary
        QByteArrayView bytes; ///< of data, text, a real and a date; the references of a container
    };

    /// Nothing when `plist` has no header or no sound trailer. The result points into it.
    static std::optional<BinaryPlist> open(QByteArrayView plist);

    Object root() const { return object(trailer.rootObject); }
    /// The entry of an array.
    Object at(const Object &array, quint64 index) const;
    /// The value of a dictionary under a key of ASCII letters, the first if there are several. Looks at
    /// the first thousand keys. Of kind `Damaged` where there is none.
    Object value(const Object &dictionary, QByteArrayView name) const;
    /// Key and value of a dictionary by position.
    Object key(const Object &dictionary, quint64 index) const;
    Object entry(const Object &dictionary, quint64 index) const;

private:
    /// What the last 32 bytes tell.
    struct Trailer {
        qsizetype offsetWidth = 0;    ///< bytes of an entry of the table, 1 to 8
        qsizetype referenceWidth = 0; ///< bytes of a reference to an object, 1 to 8
        quint64 objects = 0;
        quint64 rootObject = 0;  ///< its number, which may be wrong
        quint64 offsetTable = 0; ///< where the table begins, all of which lies inside the list
    };

    BinaryPlist(QByteArrayView bytes, const Trailer &lastBytes) : all(bytes), trailer(lastBytes) {}
    Object object(quint64 number) const;
    Object objectAt(qsizetype place) const;
    Object simpleAt(int marker, int low, qsizetype place) const;
    Object counted(Kind kind, qsizetype place) const;
    Object sized(Kind kind, quint64 count, qsizetype place) const;
    Object referred(const Object &container, quint64 index) const;

    QByteArrayView all;
    Trailer trailer;
};

/// A text object as UTF-8; empty for anything else.
QByteArray textOf(const BinaryPlist::Object &object);

/// The value of a real number, or the seconds since 2001-01-01 UTC of a date; 0 for anything else.
double realOf(const BinaryPlist::Object &object);
