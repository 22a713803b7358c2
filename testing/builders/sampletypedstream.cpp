#include "testing/builders/sampletypedstream.h"

#include <QHash>
#include <QtEndian>

#include <initializer_list>

namespace
{

enum Tag : char {
    twoBytes = char(0x81),
    fourBytes = char(0x82),
    newThing = char(0x84),
    noThing,
    endOfObject
};
/// The first label: the bytes below are tags.
constexpr int firstLabel = -110;

struct ClassName {
    QByteArray name;
    int version;
};
using ClassChain = std::initializer_list<ClassName>;

/// Writes values in the order of an archiver. Types and class names share one count of labels, objects,
/// classes and C strings another.
class TypedStreamWriter
{
public:
    TypedStreamWriter() : bytes(QByteArray::fromHex("040b73747265616d747970656481e803")) {}

    void number(int value)
    {
        if (value >= firstLabel && value < 0x80) {
            bytes.append(char(value));
        } else if (value >= -0x8000 && value < 0x8000) {
            bytes.append(twoBytes).append(2, '\0');
            qToLittleEndian(qint16(value), bytes.data() + bytes.size() - 2);
        } else {
            bytes.append(fourBytes).append(4, '\0');
            qToLittleEndian(qint32(value), bytes.data() + bytes.size() - 4);
        }
    }

    void type(const QByteArray &name) { sharedString(name); }

    void beginObject(ClassChain classes)
    {
        bytes.append(newThing);
        ++labels;
        for (const ClassName &one : classes)
            if (!writeClass(one))
                return;
        bytes.append(noThing);
    }
    void endObject() { bytes.append(endOfObject); }

    void text(const QString &text, ClassChain classes)
    {
        const QByteArray utf8 = text.toUtf8();
        beginObject(classes);
        type("+");
        number(int(utf8.size()));
        bytes.append(utf8);
        endObject();
    }

    /// A text or number that others refer to when it comes again.
    void value(const SampleAttribute &attribute)
    {
        type("@");
        if (attribute.text.isNull())
            numberObject(attribute.number);
        else if (attribute.isAddress)
            address(attribute.text);
        else
            knownText(attribute.text);
    }
    void key(const QByteArray &name)
    {
        type("@");
        knownText(QString::fromLatin1(name));
    }

    QByteArray result() const { return bytes; }

private:
    void reference(int label) { number(label + firstLabel); }

    void sharedString(const QByteArray &text)
    {
        const auto known = strings.constFind(text);
        if (known != strings.cend())
            return reference(*known);
        strings.insert(text, int(strings.size()));
        bytes.append(newThing);
        number(int(text.size()));
        bytes.append(text);
    }

    /// Whether the class is new and the one above it has to follow.
    bool writeClass(const ClassName &one)
    {
        const auto known = classLabels.constFind(one.name);
        if (known != classLabels.cend()) {
            reference(*known);
            return false;
        }
        bytes.append(newThing);
        sharedString(one.name);
        number(one.version);
        classLabels.insert(one.name, labels++);
        return true;
    }

    void knownText(const QString &words)
    {
        const auto known = texts.constFind(words);
        if (known != texts.cend())
            return reference(*known);
        texts.insert(words, labels);
        text(words, {{"NSString", 1}, {"NSObject", 0}});
    }

    void address(const QString &link)
    {
        beginObject({{"NSURL", 0}, {"NSObject", 0}});
        type("c");
        bytes.append('\0'); // no base
        type("@");
        knownText(link);
        endObject();
    }

    void numberObject(int value)
    {
        const auto known = numbers.constFind(value);
        if (known != numbers.cend())
            return reference(*known);
        numbers.insert(value, labels);
        beginObject({{"NSNumber", 0}, {"NSValue", 0}, {"NSObject", 0}});
        type("*");
        if (typeOfNumbers < 0) {
            typeOfNumbers = labels++;
            bytes.append(newThing);
            sharedString("i");
        } else {
            reference(typeOfNumbers);
        }
        type("i");
        number(value);
        endObject();
    }

    QByteArray bytes;
    QHash<QByteArray, int> strings;
    QHash<QByteArray, int> classLabels;
    QHash<QString, int> texts;
    QHash<int, int> numbers;
    int labels = 0;
    int typeOfNumbers = -1;
};

void writeAttributes(TypedStreamWriter &writer, const QList<SampleAttribute> &attributes)
{
    writer.type("@");
    writer.beginObject({{"NSDictionary", 0}, {"NSObject", 0}});
    writer.type("i");
    writer.number(int(attributes.size()));
    for (const SampleAttribute &attribute : attributes) {
        writer.key(attribute.key);
        writer.value(attribute);
    }
    writer.endObject();
}

} // namespace

QByteArray sampleTypedStream(const QString &text, const QList<SampleRun> &runs, SampleStringKind kind)
{
    const bool isMutable = kind == SampleStringKind::Mutable;
    TypedStreamWriter writer;
    writer.type("@");
    if (isMutable)
        writer.beginObject({{"NSMutableAttributedString", 0}, {"NSAttributedString", 0}, {"NSObject", 0}});
    else
        writer.beginObject({{"NSAttributedString", 0}, {"NSObject", 0}});
    writer.type("@");
    if (isMutable)
        writer.text(text, {{"NSMutableString", 1}, {"NSString", 1}, {"NSObject", 0}});
    else
        writer.text(text, {{"NSString", 1}, {"NSObject", 0}});
    QList<QList<SampleAttribute>> known;
    for (const SampleRun &run : runs) {
        const qsizetype place = known.indexOf(run.attributes);
        writer.type("iI");
        writer.number(int(place < 0 ? known.size() : place) + 1);
        writer.number(int(run.length));
        if (place >= 0)
            continue;
        known.append(run.attributes);
        writeAttributes(writer, run.attributes);
    }
    writer.endObject();
    return writer.result();
}
