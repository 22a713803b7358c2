#include "store/records/messagesummary.h"

#include "app/appledates.h"
#include "store/archives/keyedarchive.h"
#include "store/archives/typedstream.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

// A phone allows five edits of a message; whoever allows more is read up to here.
constexpr qsizetype mostEntries = 1000;
constexpr int highestPart = 1000;
constexpr double largestDate = 9.2e18; // of which the whole part fits 64 bits

qint64 wholeNumber(const QVariant &value)
{
    const double number = value.toDouble(); // seconds, which phones write as a real number
    return std::abs(number) < largestDate ? qint64(number) : 0;
}

MessageEdit editOf(const QVariantMap &state, int part)
{
    const std::optional<TypedStreamText> text = textOfTypedStream(state.value(u"t"_s).toByteArray());
    return {part, wholeSeconds(wholeNumber(state.value(u"d"_s))), text ? text->text : QString()};
}

// The keys are the numbers of the parts.
QList<MessageEdit> editsOf(const QVariantMap &history)
{
    QList<MessageEdit> edits;
    if (history.size() > mostEntries)
        return edits;
    qsizetype partsLeft = history.size();
    for (int part = 0; part <= highestPart && partsLeft > 0; ++part) {
        const auto found = history.constFind(QString::number(part));
        if (found == history.cend())
            continue;
        --partsLeft;
        const QVariantList states = found->toList();
        for (const QVariant &state : states.first(std::min(states.size(), mostEntries))) {
            if (state.metaType().id() == QMetaType::QVariantMap && edits.size() < mostEntries)
                edits.append(editOf(state.toMap(), part));
        }
    }
    return edits;
}

QList<int> numbersOf(const QVariantList &list)
{
    QList<int> numbers;
    for (const QVariant &entry : list.first(std::min(list.size(), mostEntries))) {
        const qint64 number = entry.toLongLong();
        if (entry.metaType().id() == QMetaType::LongLong && number >= 0 && number <= highestPart)
            numbers.append(int(number));
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

} // namespace

MessageSummary messageSummaryOf(const QByteArray &list)
{
    const QVariantMap summary = readPlistTree(list).toMap();
    return {editsOf(summary.value(u"ec"_s).toMap()), numbersOf(summary.value(u"rp"_s).toList())};
}

bool mayTellOfChanges(QByteArrayView list)
{
    if (list.startsWith("<?xml"))
        return true;
    // The marker of a text of two or three characters stands before each key.
    for (const QByteArrayView key : {"\x52"
                                     "ec",
                                     "\x52"
                                     "ep",
                                     "\x52"
                                     "rp",
                                     "\x53"
                                     "tmp"})
        if (list.indexOf(key) >= 0)
            return true;
    return false;
}
