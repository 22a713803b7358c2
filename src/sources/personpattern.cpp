#include "sources/personpattern.h"

#include "app/textfolding.h"
#include "store/people/countrylibdb.h"
#include "store/records/messagerecords.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// What is shorter may be a service of any country, and the end of many numbers.
constexpr qsizetype shortestNumber = 7;

QString withoutZeros(const QString &digits)
{
    const auto first = std::find_if(digits.begin(), digits.end(), [](QChar c) { return c != u'0'; });
    return digits.sliced(first - digits.begin());
}

/// `text` as digits, with "+" before an international number; empty when something in it isn't of a number.
QString numberFrom(const QString &text)
{
    QString number;
    QString rest = text.trimmed();
    if (rest.startsWith(u'+') || rest.startsWith("00"_L1))
        rest.remove("(0)"_L1); // dialled inside the country only
    for (const QChar c : std::as_const(rest)) {
        if (c.digitValue() >= 0)
            number += QChar(u'0' + c.digitValue());
        else if (c == u'+' && number.isEmpty())
            number += c;
        else if (!c.isSpace() && !u"-./()"_s.contains(c) && c.category() != QChar::Punctuation_Dash &&
                 c.category() != QChar::Other_Format)
            return {};
    }
    return number == u'+' ? QString() : number;
}

} // namespace

PersonPattern::PersonPattern(const QString &text, const QString &mcc) : folded(foldedText(text.trimmed()))
{
    number = numberFrom(text);
    if (number.isEmpty())
        return;
    const _CountryInfo country = CountryLibDb(mcc).defaultCountry();
    if (!country.pnum.isEmpty())
        ownPrefix = u'+' + country.pnum;
    number = normalizeAddress(country, number);
    if (number.startsWith("00"_L1) && number.size() > shortestNumber)
        number.replace(0, 2, u'+');
    number = withoutTrunkZero(number);
}

QString PersonPattern::withoutTrunkZero(const QString &other) const
{
    const bool hasZero = !ownPrefix.isEmpty() && other.startsWith(ownPrefix + u'0');
    return hasZero ? ownPrefix + other.sliced(ownPrefix.size() + 1) : other;
}

bool PersonPattern::matches(const _MsgHandle &person) const
{
    if (folded.isEmpty())
        return false;
    for (const QString &text : {person._ct_name, person.id, person.uncanonicalized_id}) {
        if (foldedText(text).contains(folded))
            return true;
    }
    return !number.isEmpty() && matchesNumber(person.id);
}

bool PersonPattern::matchesNumber(const QString &address) const
{
    const QString other = withoutTrunkZero(numberFrom(address));
    if (other.isEmpty())
        return false;
    if (!number.startsWith(u'+')) {
        const QString national = withoutZeros(number);
        return other.contains(number) || (national.size() < number.size() &&
                                          national.size() >= shortestNumber - 1 && other.endsWith(national));
    }
    if (other.startsWith(u'+'))
        return other.startsWith(number);
    const QString national = withoutZeros(other); // kept as it was dialled
    return national.size() >= shortestNumber && number.endsWith(national);
}
