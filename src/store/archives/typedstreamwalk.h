#pragma once

#include "app/boundedbytes.h"
#include "store/archives/typedstream.h"

#include <QHash>

#include <vector>

// How a stream of NSArchiver is laid out: groups of a type encoding and a value for each type in it.
// Encodings, names, objects and classes are written once and referred to by number from then on.

/// What stands in the place of a number or an object. Smaller values are the numbers themselves, as one
/// signed byte.
enum TypedStreamTag : uchar {
    TagInt16 = 0x81,
    TagInt32 = 0x82,
    TagFloat = 0x83,
    TagNew = 0x84,
    TagNil = 0x85,
    TagEnd = 0x86,
};

/// The text whose length comes next; nothing when it doesn't begin.
std::optional<TypedStreamText> takeTypedStreamText(ByteCursor &bytes);

/// Walks a stream object by object. Every payload is passed by its own length, so that nothing in it can
/// pass for structure.
class TypedStreamWalk
{
public:
    explicit TypedStreamWalk(QByteArrayView stream) : bytes(stream), budget(stream.size()) {}

    /// The first string of the root object: the walk ends there.
    std::optional<TypedStreamText> text();
    /// Of all that stands before the damage, if there is any.
    QList<TypedStreamRun> runs();

private:
    /// What an object is, by its class or one that that stands on.
    enum class Base { Other, String, Number, Data, Url, Dictionary };
    /// An object, a class or a C string: what later ones refer to.
    struct Label {
        Base base = Base::Other;
        QByteArrayView bytes;                ///< of a string, in UTF-8, or of data
        std::optional<double> number;        ///< the last one in it
        std::vector<std::ptrdiff_t> members; ///< objects in it, by label; -1 for nil
    };
    /// So many units of the text with the attributes of a number.
    struct Run {
        qint32 attributes;
        qint32 length;
    };
    using Owner = std::optional<size_t>; ///< label of the object whose values are read

    // Each of these is false when the walk is over: for damage, or because the text is found.

    bool isHeader();
    /// Groups of typed values up to the end of the object, or of the stream.
    bool readGroups(int depth, Owner owner);
    bool readObject(int depth, Owner owner);
    /// Its label.
    std::optional<size_t> readNewObject(int depth);
    bool readText(size_t label, int depth);
    bool readRun();
    bool readValues(QByteArrayView types, int depth, Owner owner);
    bool readValue(QByteArrayView &types, int depth, Owner owner);
    bool readByte(bool isSigned, Owner owner);
    bool readArray(QByteArrayView &types, int depth, Owner owner);
    bool readNested(QByteArrayView &types, int depth, Owner owner);
    template <typename Real, typename Bits>
    bool readReal(Owner owner);
    bool readCString();

    std::optional<Base> readClass(int depth);
    static Base baseOf(QByteArrayView className);
    std::optional<QByteArrayView> takeSharedText(uchar head);
    std::optional<qint32> takeNumber(uchar head);
    /// The place of what `head` refers to in a list of so many.
    std::optional<size_t> takeReference(uchar head, size_t known);
    std::optional<uchar> takeHead() { return bytes.takeBigEndian<uchar>(); }
    bool note(Owner owner, std::optional<double> number);

    QVariant valueOf(std::ptrdiff_t place, int depth);
    QVariant bytesOrText(std::ptrdiff_t place);
    QVariantMap pairsOf(const Label &dictionary, int depth);

    ByteCursor bytes;
    qsizetype budget;                  // values that may still be read; no honest one takes no byte
    std::vector<QByteArrayView> texts; // types and names that later ones refer to
    std::vector<Label> labels;         // objects and classes likewise
    bool isForText = true;             // the walk ends at the text; else it goes on for the runs
    std::optional<TypedStreamText> found;
    std::vector<Run> runsRead;
    QHash<qint32, size_t> attributes;       // labels of the runs' dictionaries, by their number
    QHash<std::ptrdiff_t, QVariant> values; // of texts and data, by label
    int valuesLeft = 100'000;               // dictionaries can hold each other many times over
};
