#include "store/people/countrylibdb.h"

#include "app/datalocations.h"

#include <QFile>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void fail(const QString &text)
{
    throw std::runtime_error(text.toStdString());
}

/// Writes the table into the data root in one step: another process that starts at the same time finds
/// no file or a whole one.
void copyResourceTo(const QString &path)
{
    QFile resource(u":res/countries.db"_s);
    if (!resource.open(QIODevice::ReadOnly))
        fail(u"can not find :res/countries.db."_s);
    QSaveFile copy(path);
    if (!copy.open(QIODevice::WriteOnly) || copy.write(resource.readAll()) < 0 || !copy.commit())
        fail(u"can not create %1. %2"_s.arg(path, copy.errorString()));
}

_CountryInfo countryOf(const Sqlite3Cursor &row)
{
    const QString mobile = row.getText(u"r1"_s);
    return {.sn = row.getText(u"sn"_s),
            .n = row.getText(u"n"_s),
            .ln = row.getText(u"ln"_s),
            .pnum = row.getText(u"pnum"_s),
            .mmc = row.getText(u"mmc"_s),
            .numc = row.getText(u"numc"_s),
            .mobilePattern = mobile.isEmpty() ? QString() : u'^' + mobile + u'$',
            .callPrefix = row.getText(u"mnc_rx"_s)};
}

/// Of the countries that share a dialling code, each time the largest.
bool isLargest(const _CountryInfo &country)
{
    static const QSet<QString> largest = {u"US"_s, u"RU"_s, u"IT"_s, u"GB"_s, u"AU"_s,
                                          u"MA"_s, u"RE"_s, u"FI"_s, u"GP"_s, u"CW"_s};
    return largest.contains(country.sn);
}

Sqlite3Sql byMmc(const QString &mmc)
{
    Sqlite3Sql sql("select c.* from mmc_sn as m inner join countries as c on m.[sn] = c.sn and m.mmc=?");
    sql.addTextParam(mmc);
    return sql;
}

bool canBeMobile(const _CountryInfo &country, const QString &national)
{
    return isValidLength(country, national.size()) && isMobileNumber(country, national);
}

} // namespace

CountryLibDb::CountryLibDb(const QString &mmc) : mmcCode(mmc)
{
}

void CountryLibDb::openDb()
{
    if (isOpen())
        return;
    const QString path = dataRoot().absoluteFilePath(u"countries.db"_s);
    if (!QFile::exists(path))
        copyResourceTo(path);
    openThrow(path, sqliteReadWrite);
    try {
        current = countryByMmc(mmcCode);
    } catch (...) {
        close(); // An open connection would pass for one whose country is unknown.
        throw;
    }
}

void CountryLibDb::useCountry(const QString &mmc)
{
    mmcCode = mmc;
    if (isOpen())
        current = firstCountry(byMmc(mmc)).value_or(_CountryInfo());
}

const _CountryInfo &CountryLibDb::defaultCountry()
{
    openDb();
    return current;
}

_CountryInfo CountryLibDb::countryByMmc(const QString &mmc, bool *found)
{
    openDb();
    return orCurrent(firstCountry(byMmc(mmc)), found);
}

_CountryInfo CountryLibDb::countryBySn(const QString &sn, bool *found)
{
    openDb();
    const QString upper = sn.toUpper();
    auto known = knownBySn.constFind(upper);
    if (known == knownBySn.constEnd()) {
        Sqlite3Sql sql("select * from countries where sn=?");
        sql.addTextParam(upper);
        known = knownBySn.insert(upper, firstCountry(sql));
    }
    return orCurrent(*known, found);
}

std::optional<_CountryInfo> CountryLibDb::countryByNumber(const QString &number)
{
    constexpr qsizetype longestCode = 3;
    const QString normal = normalizeAddress({}, number);
    if (!normal.startsWith(u'+'))
        return std::nullopt;
    for (qsizetype length = std::min(longestCode, normal.size() - 1); length > 0; --length) {
        const QList<_CountryInfo> &sharing = countriesByCode(normal.sliced(1, length));
        const QString national = normal.sliced(1 + length);
        const auto fits = [&](const _CountryInfo &country) { return canBeMobile(country, national); };
        if (const auto fitting = std::find_if(sharing.begin(), sharing.end(), fits); fitting != sharing.end())
            return *fitting;
        if (!sharing.isEmpty())
            return sharing.first();
    }
    return std::nullopt;
}

/// Those with the international dialling code `code`, the largest first.
const QList<_CountryInfo> &CountryLibDb::countriesByCode(const QString &code)
{
    openDb();
    if (const auto known = knownByCode.constFind(code); known != knownByCode.cend())
        return *known;
    Sqlite3Sql sql("select * from countries where pnum=? order by sn");
    sql.addTextParam(code);
    Sqlite3Cursor cursor = queryThrow(sql);
    QList<_CountryInfo> countries;
    while (cursor.moveNextThrow())
        countries.append(countryOf(cursor));
    std::stable_partition(countries.begin(), countries.end(), isLargest);
    return *knownByCode.insert(code, countries);
}

std::optional<_CountryInfo> CountryLibDb::firstCountry(const Sqlite3Sql &sql)
{
    Sqlite3Cursor cursor = queryThrow(sql);
    if (!cursor.moveNextThrow())
        return std::nullopt;
    return countryOf(cursor);
}

_CountryInfo CountryLibDb::orCurrent(const std::optional<_CountryInfo> &country, bool *found) const
{
    if (found)
        *found = country.has_value();
    return country.value_or(current);
}

QList<CountryChoice> countryChoices()
{
    CountryLibDb library{QString()};
    library.openDb();
    Sqlite3Cursor cursor = library.queryThrow(
        Sqlite3Sql("select pnum, n, substr(mmc,0,4) as mmc from countries order by n asc"));
    QList<CountryChoice> choices;
    while (cursor.moveNextThrow())
        choices.append({.label = u"%1 (+%2)"_s.arg(cursor.getText(u"n"_s), cursor.getText(u"pnum"_s)),
                        .mmc = cursor.getText(u"mmc"_s)});
    return choices;
}
