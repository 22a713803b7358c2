#include "store/records/messagesummary.h"

#include "app/appledates.h"
#include "app/plistvalue.h"
#include "store/archives/typedstream.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// A phone allows five edits of a message; whoever allows more is read up to here.
constexpr unsigned mostEntries = 1000;
constexpr int highestPart = 1000;

MessageEdit editOf(const PlistValue &entry, int part)
{
    const std::optional<TypedStreamText> text = textOfTypedStream(entry.value(u"t"_s).toByteArray());
    return {part, wholeSeconds(entry.value(u"d"_s).toWholeNumber()), text ? text->text : QString()};
}

// The keys are the numbers of the parts. They are asked for one by one: libplist stops the program where it
// is to list a key that is no sound text.
QList<MessageEdit> editsOf(const PlistValue &history)
{
    QList<MessageEdit> edits;
    unsigned partsLeft = history.size() <= mostEntries ? history.size() : 0;
    for (int part = 0; part <= highestPart && partsLeft > 0; ++part) {
        const PlistValue states = history.value(QString::number(part));
        partsLeft -= states.isNull() ? 0 : 1;
        for (unsigned i = 0; i < std::min(states.size(), mostEntries) && edits.size() < mostEntries; ++i) {
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
    constexpr char textOfTwo = 0x52; // stands before a key of two characters
    for (qsizetype at = list.indexOf(textOfTwo); at >= 0; at = list.indexOf(textOfTwo, at + 1)) {
        const QByteArrayView key = list.sliced(at + 1).first(std::min<qsizetype>(2, list.size() - at - 1));
        if (key == "ec" || key == "ep" || key == "rp")
            return true;
    }
    return false;
}
