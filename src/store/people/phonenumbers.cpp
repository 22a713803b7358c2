#include "store/people/phonenumbers.h"

#include <QHash>
#include <QLoggingCategory>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

bool isLatinLetterOrAt(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'@';
}

bool isDigitOrPlus(QChar c)
{
    return (c >= u'0' && c <= u'9') || c == u'+';
}

/// The compiled `pattern`. A file that a user brought can hold a pattern that doesn't compile: it is
/// logged once and then matches nothing.
const QRegularExpression &compiled(const QString &pattern)
{
    thread_local QHash<QString, QRegularExpression> known;
    const auto found = known.constFind(pattern);
    if (found != known.constEnd())
        return *found;
    QRegularExpression expression(pattern);
    if (expression.isValid())
        expression.optimize();
    else
        qWarning("pattern of mobile numbers is damaged and left out: %s (%s)", qUtf8Printable(pattern),
                 qUtf8Printable(expression.errorString()));
    return *known.insert(pattern, expression);
}

/// `number` with "+" for what is dialled in the country before international numbers; empty when it doesn't
/// begin with that. Where the country has several such prefixes, one can be the beginning of another: there
/// only what follows, the country's own code, tells that it ends.
QString withoutCallPrefix(const _CountryInfo &country, const QString &number)
{
    constexpr qsizetype longestPrefix = 8;
    constexpr qsizetype shortestNumber = 8; // with the country's code, which never begins with 0
    constexpr qsizetype longestNumber = 15;
    if (country.callPrefix.isEmpty())
        return {};
    const QRegularExpression &prefix = compiled(u"^(?:%1)$"_s.arg(country.callPrefix));
    const bool isOnlyOne = !country.callPrefix.contains(u'[') && !country.callPrefix.contains(u'|');
    for (qsizetype length = 1; length <= std::min(longestPrefix, number.size() - shortestNumber); ++length) {
        const QString rest = number.sliced(length);
        const bool isOwn =
            rest.startsWith(country.pnum) && isValidLength(country, rest.size() - country.pnum.size());
        if ((isOwn || (isOnlyOne && rest.size() <= longestNumber && !rest.startsWith(u'0'))) &&
            prefix.isValid() && prefix.match(number.first(length)).hasMatch())
            return u'+' + rest;
    }
    return {};
}

QString onlyDigitsAndPlus(const QString &address)
{
    QString number;
    number.reserve(address.size());
    for (const QChar c : address) {
        if (isDigitOrPlus(c))
            number += c;
    }
    return number;
}

} // namespace

bool isValidLength(const _CountryInfo &country, qsizetype length)
{
    for (const QStringView part : qTokenize(country.numc, u',')) {
        bool isNumber = false;
        if (part.toInt(&isNumber) == length && isNumber)
            return true;
    }
    return false;
}

bool isMobileNumber(const _CountryInfo &country, const QString &number)
{
    if (country.mobilePattern.isEmpty())
        return false;
    const QRegularExpression &pattern = compiled(country.mobilePattern);
    return pattern.isValid() && pattern.match(number).hasMatch();
}

QString normalizeAddress(const _CountryInfo &country, const QString &address)
{
    if (std::any_of(address.begin(), address.end(), isLatinLetterOrAt))
        return address.toLower();
    const QString number = onlyDigitsAndPlus(address);
    if (number.isEmpty()) // a sender's name in another script: all of them would be one
        return address.toLower();
    if (number.contains(u'+'))
        return number;
    if (const QString international = withoutCallPrefix(country, number); !international.isEmpty())
        return international;
    const qsizetype n = number.size();
    if (isValidLength(country, n) && isMobileNumber(country, number))
        return u'+' + country.pnum + number;
    if (number.startsWith(u'0') && isValidLength(country, n - 1)) {
        const QString rest = number.sliced(1);
        if (isMobileNumber(country, rest))
            return u'+' + country.pnum + rest;
    }
    if (number.startsWith(country.pnum) && isValidLength(country, n - country.pnum.size()))
        return u'+' + number;
    return number;
}
