#include "store/archives/typedstream.h"

#include "app/boundedbytes.h"

#include <QHash>

#include <array>
#include <vector>

namespace
{

// What stands in the place of a number or an object. Smaller values are the numbers themselves, as one
// signed byte.
enum Tag : uchar {
    TagInt16 = 0x81,
    TagInt32 = 0x82,
    TagFloat = 0x83,
    TagNew = 0x84,
    TagNil = 0x85,
    TagEnd = 0x86,
};
constexpr int firstReference = -110; // the number that names what was written first
constexpr int deepest = 32;          // objects, classes and types within each other

// Payloads are unsigned lengths: numbers of one byte end where the tags begin.
std::optional<qsizetype> takeLength(ByteCursor &bytes)
{
    const std::optional<quint8> first = bytes.takeBigEndian<quint8>();
    if (!first || *first < 0x80)
        return first;
    if (*first == TagInt16) {
        const std::optional<QByteArrayView> raw = bytes.take(2);
        return raw ? readLittleEndian<quint16>(*raw) : std::nullopt;
    }
    if (*first == TagInt32) {
        const std::optional<QByteArrayView> raw = bytes.take(4);
        return raw ? readLittleEndian<quint32>(*raw) : std::nullopt;
    }
    return std::nullopt;
}

/// `utf8` without the beginning of a character that the end cuts off.
QByteArrayView wholeCharacters(QByteArrayView utf8)
{
    for (qsizetype back = 1; back <= std::min<qsizetype>(3, utf8.size()); ++back) {
        const auto byte = uchar(utf8[utf8.size() - back]);
        if (byte < 0x80)
            break;
        if (byte >= 0xC0) {
            const qsizetype needed = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            return needed > back ? utf8.chopped(back) : utf8;
        }
    }
    return utf8;
}

std::optional<TypedStreamText> takeText(ByteCursor &bytes)
{
    const std::optional<qsizetype> length = takeLength(bytes);
    if (!length || (*length > 0 && bytes.atEnd()))
        return std::nullopt;
    const bool isCut = *length > bytes.remaining();
    const QByteArrayView utf8 = bytes.takeUpTo(*length);
    return TypedStreamText{QString::fromUtf8(isCut ? wholeCharacters(utf8) : utf8), isCut};
}

/// Walks a stream object by object up to the text. Every payload is passed by its own length, so that
/// nothing in it can pass for structure.
class Walk
{
public:
    explicit Walk(QByteArrayView stream) : bytes(stream), budget(stream.size()) {}

    std::optional<TypedStreamText> text();
    QList<TypedStreamAttachment> attachments();

private:
    /// An object, a class or a C string: what later ones refer to.
    struct Label {
        bool isString = false; ///< a string class
        QByteArrayView text;   ///< of a string, in UTF-8
    };
    /// So many units of the text with the attributes of a number.
    struct Run {
        qint32 attributes;
        qint32 length;
    };
    struct Attributes {
        QByteArrayView guid;
        bool isInline = false;
    };

    // Each of these is false when the walk is over: for damage, or because the text is found.

    bool isHeader();
    /// Groups of typed values up to the end of the object, or of the stream. `string` is the label of what is
    /// read, if that is a string.
    bool readGroups(int depth, std::optional<size_t> string);
    bool readObject(int depth);
    /// Its label.
    std::optional<size_t> readNewObject(int depth);
    bool readText(size_t label, int depth);
    bool readRun();
    /// Keys and values of a run's attributes come one by one.
    void noteAttribute(QByteArrayView text);
    bool skipValues(QByteArrayView types, int depth);
    bool skipValue(QByteArrayView &types, int depth);
    bool skipArray(QByteArrayView &types, int depth);
    bool skipNested(QByteArrayView &types, int depth);
    bool skipReal(qsizetype size);
    bool skipCString();

    /// Whether the class, or one that it stands on, is NSString.
    std::optional<bool> readClass(int depth);
    std::optional<QByteArrayView> takeSharedText(uchar head);
    std::optional<qint32> takeNumber(uchar head);
    /// The place of what `head` refers to in a list of so many.
    std::optional<size_t> takeReference(uchar head, size_t known);
    std::optional<uchar> takeHead() { return bytes.takeBigEndian<uchar>(); }

    ByteCursor bytes;
    qsizetype budget;                  // values that may still be read; no honest one takes no byte
    std::vector<QByteArrayView> texts; // types and names that later ones refer to
    std::vector<Label> labels;         // objects and classes likewise
    bool isForText = true;             // the walk ends at the text; else it goes on for the runs
    std::optional<TypedStreamText> found;
    std::vector<Run> runs;
    QHash<qint32, Attributes> attributes;
    std::optional<QByteArrayView> key; // whose value comes next
};

std::optional<TypedStreamText> Walk::text()
{
    if (isHeader())
        readGroups(0, {});
    return found;
}

QList<TypedStreamAttachment> Walk::attachments()
{
    isForText = false;
    if (isHeader())
        readGroups(0, {});
    QList<TypedStreamAttachment> places;
    qsizetype at = 0;
    for (const Run &run : runs) {
        const Attributes ofRun = attributes.value(run.attributes);
        if (!ofRun.guid.isEmpty())
            places.append({at, QString::fromUtf8(ofRun.guid), ofRun.isInline});
        at += run.length;
    }
    return places;
}

bool Walk::isHeader()
{
    constexpr QByteArrayView signature = "\x04\x0bstreamtyped";
    if (bytes.takeUpTo(signature.size()) != signature)
        return false;
    const std::optional<uchar> head = takeHead(); // of the version of the system that wrote it
    return head && takeNumber(*head);
}

bool Walk::readGroups(int depth, std::optional<size_t> string)
{
    for (;;) {
        const std::optional<uchar> head = takeHead();
        if (!head || *head == TagEnd)
            return head && depth > 0;
        const std::optional<QByteArrayView> types = takeSharedText(*head);
        if (!types)
            return false;
        const bool isRead = string && *types == "+"        ? readText(*string, depth)
                            : depth == 1 && *types == "iI" ? readRun()
                                                           : skipValues(*types, depth);
        if (!isRead)
            return false;
    }
}

bool Walk::readText(size_t label, int depth)
{
    if (isForText && depth <= 2) {
        found = takeText(bytes);
        return false;
    }
    const std::optional<qsizetype> length = takeLength(bytes);
    const std::optional<QByteArrayView> text = length ? bytes.take(*length) : std::nullopt;
    labels[label].text = text.value_or(QByteArrayView());
    return text.has_value();
}

bool Walk::readRun()
{
    const std::optional<uchar> head = takeHead();
    const std::optional<qint32> number = head ? takeNumber(*head) : std::nullopt;
    const std::optional<qsizetype> length = number ? takeLength(bytes) : std::nullopt;
    if (!length || --budget < 0)
        return false;
    runs.push_back({*number, qint32(*length)});
    key.reset();
    return true;
}

void Walk::noteAttribute(QByteArrayView text)
{
    if (!key) {
        key = text;
        return;
    }
    Attributes &ofRun = attributes[runs.back().attributes];
    if (*key == "__kIMFileTransferGUIDAttributeName")
        ofRun.guid = text;
    else if (*key == "__kIMEmojiImageAttributeName")
        ofRun.isInline = true;
    key.reset();
}

bool Walk::readObject(int depth)
{
    const std::optional<uchar> head = takeHead();
    if (!head)
        return false;
    std::optional<size_t> label;
    if (*head == TagNew)
        label = readNewObject(depth);
    else if (*head != TagNil)
        label = takeReference(*head, labels.size());
    if (!label && *head != TagNil)
        return false;
    if (depth == 2 && !runs.empty())
        noteAttribute(label ? labels[*label].text : QByteArrayView());
    return true;
}

std::optional<size_t> Walk::readNewObject(int depth)
{
    if (depth > deepest)
        return std::nullopt;
    const size_t label = labels.size();
    labels.push_back({});
    const std::optional<bool> isString = readClass(depth + 1);
    if (!isString || !readGroups(depth + 1, *isString ? std::optional(label) : std::nullopt))
        return std::nullopt;
    return label;
}

std::optional<bool> Walk::readClass(int depth)
{
    const std::optional<uchar> head = takeHead();
    if (!head || depth > deepest)
        return std::nullopt;
    if (*head == TagNil)
        return false;
    if (*head != TagNew) {
        const std::optional<size_t> place = takeReference(*head, labels.size());
        return place ? std::optional<bool>(labels[*place].isString) : std::nullopt;
    }
    const std::optional<uchar> nameHead = takeHead();
    const std::optional<QByteArrayView> name = nameHead ? takeSharedText(*nameHead) : std::nullopt;
    const std::optional<uchar> version = name ? takeHead() : std::nullopt;
    if (!version || !takeNumber(*version))
        return std::nullopt;
    const size_t label = labels.size();
    labels.push_back({*name == "NSString", {}});
    const std::optional<bool> isSuperString = readClass(depth + 1);
    if (!isSuperString)
        return std::nullopt;
    labels[label].isString = labels[label].isString || *isSuperString;
    return labels[label].isString;
}

bool Walk::skipValues(QByteArrayView types, int depth)
{
    while (!types.isEmpty()) {
        if (!skipValue(types, depth))
            return false;
    }
    return true;
}

bool Walk::skipValue(QByteArrayView &types, int depth)
{
    if (--budget < 0 || depth > deepest || types.isEmpty())
        return false;
    const char type = types.front();
    types = types.sliced(1);
    switch (type) {
    case '@': return readObject(depth);
    case '#': return readClass(depth).has_value();
    case 'c':
    case 'C':
    case 'B': return takeHead().has_value();
    case 'f': return skipReal(sizeof(float));
    case 'd': return skipReal(sizeof(double));
    case '*': return skipCString();
    case '[': return skipArray(types, depth + 1);
    case '{':
    case '(': return skipNested(types, depth + 1);
    case '+': {
        const std::optional<qsizetype> length = takeLength(bytes);
        return length && bytes.take(*length);
    }
    default: break;
    }
    const std::optional<uchar> head = takeHead();
    if (!head)
        return false;
    if (type == '%' || type == ':')
        return *head == TagNil || takeSharedText(*head);
    return QByteArrayView("sSiIlLqQ").contains(type) && takeNumber(*head);
}

// "[12c]": so many of one type. Bytes stand without anything between them.
bool Walk::skipArray(QByteArrayView &types, int depth)
{
    qsizetype count = 0;
    while (!types.isEmpty() && types.front() >= '0' && types.front() <= '9' && count <= budget) {
        count = count * 10 + (types.front() - '0');
        types = types.sliced(1);
    }
    const QByteArrayView element = types;
    for (qsizetype i = 0; i < count; ++i) {
        types = element;
        if (!skipValue(types, depth))
            return false;
    }
    // An empty array has a type too, of which nothing stands in the stream.
    const qsizetype end = types.indexOf(']');
    types = end < 0 ? QByteArrayView() : types.sliced(end + 1);
    return end >= 0;
}

// "{_NSRange=II}": values one behind the other.
bool Walk::skipNested(QByteArrayView &types, int depth)
{
    const qsizetype name = types.indexOf('=');
    if (name < 0)
        return false;
    types = types.sliced(name + 1);
    while (!types.isEmpty() && types.front() != '}' && types.front() != ')') {
        if (!skipValue(types, depth))
            return false;
    }
    const bool isClosed = !types.isEmpty();
    types = isClosed ? types.sliced(1) : types;
    return isClosed;
}

bool Walk::skipReal(qsizetype size)
{
    const std::optional<uchar> head = takeHead();
    if (!head)
        return false;
    return *head == TagFloat ? bytes.take(size).has_value() : takeNumber(*head).has_value();
}

bool Walk::skipCString()
{
    const std::optional<uchar> head = takeHead();
    if (!head || *head == TagNil)
        return head.has_value();
    if (*head != TagNew)
        return takeReference(*head, labels.size()).has_value();
    labels.push_back({});
    const std::optional<uchar> textHead = takeHead();
    return textHead && takeSharedText(*textHead);
}

std::optional<QByteArrayView> Walk::takeSharedText(uchar head)
{
    if (head != TagNew) {
        const std::optional<size_t> place = takeReference(head, texts.size());
        return place ? std::optional<QByteArrayView>(texts[*place]) : std::nullopt;
    }
    const std::optional<qsizetype> length = takeLength(bytes);
    const std::optional<QByteArrayView> text = length ? bytes.take(*length) : std::nullopt;
    if (text)
        texts.push_back(*text);
    return text;
}

std::optional<qint32> Walk::takeNumber(uchar head)
{
    if (head == TagInt16) {
        const std::optional<QByteArrayView> raw = bytes.take(2);
        return raw ? readLittleEndian<qint16>(*raw) : std::nullopt;
    }
    if (head == TagInt32) {
        const std::optional<QByteArrayView> raw = bytes.take(4);
        return raw ? readLittleEndian<qint32>(*raw) : std::nullopt;
    }
    const auto number = qint8(head);
    return head >= TagInt16 && number < firstReference ? std::nullopt : std::optional<qint32>(number);
}

std::optional<size_t> Walk::takeReference(uchar head, size_t known)
{
    const std::optional<qint32> number = takeNumber(head);
    if (!number || *number < firstReference)
        return std::nullopt;
    const auto place = size_t(qint64(*number) - firstReference);
    return place < known ? std::optional<size_t>(place) : std::nullopt;
}

/// What stands before the text in nearly every message, byte for byte: an attributed string whose string
/// comes first. Its class is the mutable or the plain one.
std::array<QByteArray, 2> usualHeads()
{
    const QByteArray begin =
        QByteArray::fromHex("040b") + "streamtyped" + QByteArray::fromHex("81e80384014084");
    const QByteArray attributed = QByteArray::fromHex("848412") + "NSAttributedString" + '\0';
    const QByteArray object = QByteArray::fromHex("848408") + "NSObject" + QByteArray::fromHex("008592");
    const QByteArray string = QByteArray::fromHex("848408") + "NSString" + QByteArray::fromHex("01");
    const QByteArray bytesFollow = QByteArray::fromHex("84012b");
    return {begin + attributed + object + char(TagNew) + string + char(0x94) + bytesFollow,
            begin + QByteArray::fromHex("848419") + "NSMutableAttributedString" + '\0' + attributed + object +
                char(TagNew) + QByteArray::fromHex("84840f") + "NSMutableString" + QByteArray::fromHex("01") +
                string + char(0x95) + bytesFollow};
}

} // namespace

std::optional<TypedStreamText> textOfTypedStream(QByteArrayView stream)
{
    static const std::array<QByteArray, 2> heads = usualHeads();
    for (const QByteArray &head : heads) {
        if (stream.startsWith(head)) {
            ByteCursor bytes(stream.sliced(head.size()));
            return takeText(bytes);
        }
    }
    return Walk(stream).text();
}

QList<TypedStreamAttachment> attachmentsOfTypedStream(QByteArrayView stream)
{
    return Walk(stream).attachments();
}
