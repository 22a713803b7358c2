#include "phonenumbers.h"

#include <QHash>
#include <QLoggingCategory>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

bool isLetterOrAt(QChar c)
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
    if (std::any_of(address.begin(), address.end(), isLetterOrAt))
        return address.toLower();
    const QString number = onlyDigitsAndPlus(address);
    if (number.contains(u'+'))
        return number;
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
