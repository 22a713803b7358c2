#include "messagesummary.h"

#include "appledates.h"
#include "plistvalue.h"
#include "typedstream.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

// A phone allows five edits of a message; whoever allows more is read up to here.
constexpr unsigned mostEntries = 1000;
constexpr int highestPart = 100000;

std::optional<int> partNumber(const QString &key)
{
    bool isNumber = false;
    const int part = key.toInt(&isNumber);
    return isNumber && part >= 0 && part <= highestPart ? std::optional<int>(part) : std::nullopt;
}

MessageEdit editOf(const PlistValue &entry, int part)
{
    const std::optional<TypedStreamText> text = textOfTypedStream(entry.value(u"t"_s).toByteArray());
    return {part, wholeSeconds(entry.value(u"d"_s).toWholeNumber()), text ? text->text : QString()};
}

QList<MessageEdit> editsOf(const PlistValue &history)
{
    QList<int> parts;
    const QStringList keys = history.keys();
    for (const QString &key : keys) {
        if (const std::optional<int> part = partNumber(key); part && QString::number(*part) == key)
            parts.append(*part);
    }
    std::sort(parts.begin(), parts.end());
    QList<MessageEdit> edits;
    for (const int part : std::as_const(parts)) {
        const PlistValue states = history.value(QString::number(part));
        for (unsigned i = 0; i < states.size() && edits.size() < mostEntries; ++i) {
            if (states.at(i).isDictionary())
                edits.append(editOf(states.at(i), part));
        }
    }
    return edits;
}

QList<int> numbersOf(const PlistValue &list)
{
    QList<int> numbers;
    for (unsigned i = 0; i < std::min(list.size(), mostEntries); ++i) {
        const PlistValue entry = list.at(i);
        if (entry.isInteger() && entry.toInt() >= 0 && entry.toInt() <= highestPart)
            numbers.append(int(entry.toInt()));
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

} // namespace

MessageSummary messageSummaryOf(const QByteArray &list)
{
    const PlistValue summary = PlistValue::parse(list);
    return {editsOf(summary.value(u"ec"_s)), numbersOf(summary.value(u"rp"_s))};
}

bool mayTellOfChanges(QByteArrayView list)
{
    // Keys of two characters behind the mark of a text of that length.
    static constexpr std::array<QByteArrayView, 3> keys = {"\x52"
                                                           "ec",
                                                           "\x52"
                                                           "ep",
                                                           "\x52"
                                                           "rp"};
    return std::any_of(keys.begin(), keys.end(), [&](QByteArrayView key) { return list.contains(key); });
}
