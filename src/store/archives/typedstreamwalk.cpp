#include "store/archives/typedstreamwalk.h"

#include <algorithm>
#include <bit>

namespace
{

constexpr int firstReference = -110; // the number that names what was written first
constexpr uchar lastTag = 0x91;
constexpr int deepest = 32; // objects, classes and types within each other
constexpr size_t mostRuns = 100'000;

// Lengths are unsigned: what stands behind the tags is a number again.
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
    return *first > lastTag ? std::optional<qsizetype>(*first) : std::nullopt;
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

} // namespace

std::optional<TypedStreamText> takeTypedStreamText(ByteCursor &bytes)
{
    const std::optional<qsizetype> length = takeLength(bytes);
    if (!length || (*length > 0 && bytes.atEnd()))
        return std::nullopt;
    const bool isCut = *length > bytes.remaining();
    const QByteArrayView utf8 = bytes.takeUpTo(*length);
    return TypedStreamText{QString::fromUtf8(isCut ? wholeCharacters(utf8) : utf8), isCut};
}

std::optional<TypedStreamText> TypedStreamWalk::text()
{
    if (isHeader())
        readGroups(0, {});
    return found;
}

QList<TypedStreamRun> TypedStreamWalk::runs()
{
    isForText = false;
    if (isHeader())
        readGroups(0, {});
    QHash<qint32, QVariantMap> maps;
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        maps.insert(it.key(), pairsOf(labels[it.value()], 0));
    QList<TypedStreamRun> list;
    qsizetype at = 0;
    for (const Run &run : runsRead) {
        list.append({at, run.length, run.attributes, maps.value(run.attributes)});
        at += run.length;
    }
    return list;
}

QVariant TypedStreamWalk::valueOf(std::ptrdiff_t place, int depth)
{
    constexpr int deepestValue = 4;
    if (place < 0 || --valuesLeft < 0 || depth > deepestValue)
        return {};
    const Label &label = labels[size_t(place)];
    switch (label.base) {
    case Base::String:
    case Base::Data: return bytesOrText(place);
    case Base::Number: return label.number ? QVariant(*label.number) : QVariant();
    case Base::Url: return label.members.empty() ? QVariant() : valueOf(label.members.front(), depth + 1);
    case Base::Dictionary: return pairsOf(label, depth + 1);
    default: return {};
    }
}

/// Texts and data are made once, however many dictionaries refer to them.
QVariant TypedStreamWalk::bytesOrText(std::ptrdiff_t place)
{
    QVariant &value = values[place];
    const Label &label = labels[size_t(place)];
    if (!value.isValid())
        value = label.base == Base::Data ? QVariant(label.bytes.toByteArray())
                                         : QVariant(QString::fromUtf8(label.bytes));
    return value;
}

QVariantMap TypedStreamWalk::pairsOf(const Label &dictionary, int depth)
{
    QVariantMap map;
    for (size_t i = 0; i + 1 < dictionary.members.size() && valuesLeft > 0; i += 2)
        map.insert(valueOf(dictionary.members[i], depth).toString(),
                   valueOf(dictionary.members[i + 1], depth));
    return map;
}

bool TypedStreamWalk::isHeader()
{
    constexpr QByteArrayView signature = "\x04\x0bstreamtyped";
    if (bytes.takeUpTo(signature.size()) != signature)
        return false;
    const std::optional<uchar> head = takeHead(); // of the version of the system that wrote it
    return head && takeNumber(*head);
}

bool TypedStreamWalk::readGroups(int depth, Owner owner)
{
    for (;;) {
        const std::optional<uchar> head = takeHead();
        if (!head || *head == TagEnd)
            return head && depth > 0;
        const std::optional<QByteArrayView> types = takeSharedText(*head);
        if (!types)
            return false;
        const bool isText = owner && labels[*owner].base == Base::String && *types == "+";
        const bool isRead = isText                         ? readText(*owner, depth)
                            : depth == 1 && *types == "iI" ? readRun()
                                                           : readValues(*types, depth, owner);
        if (!isRead)
            return false;
    }
}

bool TypedStreamWalk::readText(size_t label, int depth)
{
    if (isForText && depth <= 2) {
        found = takeTypedStreamText(bytes);
        return false;
    }
    const std::optional<qsizetype> length = takeLength(bytes);
    const std::optional<QByteArrayView> text = length ? bytes.take(*length) : std::nullopt;
    labels[label].bytes = text.value_or(QByteArrayView());
    return text.has_value();
}

bool TypedStreamWalk::readRun()
{
    const std::optional<uchar> head = takeHead();
    const std::optional<qint32> number = head ? takeNumber(*head) : std::nullopt;
    const std::optional<qsizetype> length = number ? takeLength(bytes) : std::nullopt;
    if (!length || --budget < 0 || runsRead.size() == mostRuns)
        return false;
    runsRead.push_back({*number, qint32(*length)});
    return true;
}

bool TypedStreamWalk::readObject(int depth, Owner owner)
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
    if (owner)
        labels[*owner].members.push_back(label ? std::ptrdiff_t(*label) : -1);
    return true;
}

std::optional<size_t> TypedStreamWalk::readNewObject(int depth)
{
    if (depth > deepest)
        return std::nullopt;
    const size_t label = labels.size();
    labels.push_back({});
    // Behind a run stand its attributes. They are known from their beginning, so that damage in one loses
    // only what comes after it.
    if (depth == 1 && !runsRead.empty() && !attributes.contains(runsRead.back().attributes))
        attributes.insert(runsRead.back().attributes, label);
    const std::optional<Base> base = readClass(depth + 1);
    if (!base)
        return std::nullopt;
    labels[label].base = *base;
    return readGroups(depth + 1, label) ? std::optional(label) : std::nullopt;
}

TypedStreamWalk::Base TypedStreamWalk::baseOf(QByteArrayView className)
{
    if (className == "NSString")
        return Base::String;
    if (className == "NSValue")
        return Base::Number;
    if (className == "NSData")
        return Base::Data;
    if (className == "NSURL")
        return Base::Url;
    return className == "NSDictionary" ? Base::Dictionary : Base::Other;
}

std::optional<TypedStreamWalk::Base> TypedStreamWalk::readClass(int depth)
{
    const std::optional<uchar> head = takeHead();
    if (!head || depth > deepest)
        return std::nullopt;
    if (*head == TagNil)
        return Base::Other;
    if (*head != TagNew) {
        const std::optional<size_t> place = takeReference(*head, labels.size());
        return place ? std::optional(labels[*place].base) : std::nullopt;
    }
    const std::optional<uchar> nameHead = takeHead();
    const std::optional<QByteArrayView> name = nameHead ? takeSharedText(*nameHead) : std::nullopt;
    const std::optional<uchar> version = name ? takeHead() : std::nullopt;
    if (!version || !takeNumber(*version))
        return std::nullopt;
    const size_t label = labels.size();
    labels.push_back({baseOf(*name), {}, {}, {}});
    const std::optional<Base> superBase = readClass(depth + 1);
    if (superBase && labels[label].base == Base::Other)
        labels[label].base = *superBase;
    return superBase ? std::optional(labels[label].base) : std::nullopt;
}

bool TypedStreamWalk::readValues(QByteArrayView types, int depth, Owner owner)
{
    while (!types.isEmpty()) {
        if (!readValue(types, depth, owner))
            return false;
    }
    return true;
}

bool TypedStreamWalk::readValue(QByteArrayView &types, int depth, Owner owner)
{
    if (--budget < 0 || depth > deepest || types.isEmpty())
        return false;
    const char type = types.front();
    types = types.sliced(1);
    switch (type) {
    case '@': return readObject(depth, owner);
    case '#': return readClass(depth).has_value();
    case 'c':
    case 'C':
    case 'B': return readByte(type == 'c', owner);
    case 'f': return readReal<float, quint32>(owner);
    case 'd': return readReal<double, quint64>(owner);
    case '*': return readCString();
    case '[': return readArray(types, depth + 1, owner);
    case '{':
    case '(': return readNested(types, depth + 1, owner);
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
    return QByteArrayView("sSiIlLqQ").contains(type) && note(owner, takeNumber(*head));
}

bool TypedStreamWalk::readByte(bool isSigned, Owner owner)
{
    const std::optional<uchar> byte = takeHead();
    return byte && note(owner, isSigned ? qint8(*byte) : *byte);
}

bool TypedStreamWalk::note(Owner owner, std::optional<double> number)
{
    if (owner && number)
        labels[*owner].number = number;
    return number.has_value();
}

// "[12c]": so many of one type. Bytes stand without anything between them.
bool TypedStreamWalk::readArray(QByteArrayView &types, int depth, Owner owner)
{
    qsizetype count = 0;
    while (!types.isEmpty() && types.front() >= '0' && types.front() <= '9' && count <= bytes.remaining()) {
        count = count * 10 + (types.front() - '0');
        types = types.sliced(1);
    }
    const QByteArrayView element = types;
    const bool isBytes = element.startsWith("c]");
    const std::optional<QByteArrayView> raw = isBytes ? bytes.take(count) : std::nullopt;
    if (isBytes && !raw)
        return false;
    if (owner && raw)
        labels[*owner].bytes = *raw;
    for (qsizetype i = 0; !isBytes && i < count; ++i) {
        types = element;
        if (!readValue(types, depth, owner))
            return false;
    }
    // An empty array has a type too, of which nothing stands in the stream.
    const qsizetype end = types.indexOf(']');
    types = end < 0 ? QByteArrayView() : types.sliced(end + 1);
    return end >= 0;
}

// "{_NSRange=II}": values one behind the other.
bool TypedStreamWalk::readNested(QByteArrayView &types, int depth, Owner owner)
{
    const qsizetype name = types.indexOf('=');
    if (name < 0)
        return false;
    types = types.sliced(name + 1);
    while (!types.isEmpty() && types.front() != '}' && types.front() != ')') {
        if (!readValue(types, depth, owner))
            return false;
    }
    const bool isClosed = !types.isEmpty();
    types = isClosed ? types.sliced(1) : types;
    return isClosed;
}

template <typename Real, typename Bits>
bool TypedStreamWalk::readReal(Owner owner)
{
    const std::optional<uchar> head = takeHead();
    if (!head)
        return false;
    if (*head != TagFloat)
        return note(owner, takeNumber(*head));
    const std::optional<QByteArrayView> raw = bytes.take(sizeof(Bits));
    return raw && note(owner, std::bit_cast<Real>(*readLittleEndian<Bits>(*raw)));
}

bool TypedStreamWalk::readCString()
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

std::optional<QByteArrayView> TypedStreamWalk::takeSharedText(uchar head)
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

std::optional<qint32> TypedStreamWalk::takeNumber(uchar head)
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

std::optional<size_t> TypedStreamWalk::takeReference(uchar head, size_t known)
{
    const std::optional<qint32> number = takeNumber(head);
    if (!number || *number < firstReference)
        return std::nullopt;
    const auto place = size_t(qint64(*number) - firstReference);
    return place < known ? std::optional<size_t>(place) : std::nullopt;
}
