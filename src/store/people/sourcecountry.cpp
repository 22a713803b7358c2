// A SIM card's number (ICCID, ITU-T E.118) begins with 89 and the dialling code of its country, "01" for that
// of North America. Only Canada stands under its mobile country code, 302.

#include "store/people/sourcecountry.h"

#include "sqlite_qt/untoucheddb.h"
#include "store/people/countrylibdb.h"

#include <QMap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

QString codeOf(const std::optional<_CountryInfo> &country)
{
    return country ? country->mmc.section(u',', 0, 0) : QString();
}

QString codeOfSim(CountryLibDb &countries, const QString &simNumber)
{
    if (!simNumber.startsWith("89"_L1))
        return {};
    if (simNumber.startsWith("89302"_L1))
        return u"302"_s;
    const QString rest = simNumber.sliced(2);
    return codeOf(countries.countryByNumber(u'+' + rest.sliced(rest.startsWith(u'0') ? 1 : 0)));
}

/// The code of the country that a row names, or else of the address, which may be empty.
QString codeOfRow(CountryLibDb &countries, const QString &sn, const QString &address)
{
    bool found = false;
    const _CountryInfo named = countries.countryBySn(sn, &found);
    return codeOf(found ? named : countries.countryByNumber(address));
}

/// Adds up rows of a country, an address and how often they stand.
QString commonestOf(Sqlite3Cursor rows)
{
    CountryLibDb countries{QString()};
    QMap<QString, qint64> counts;
    while (rows.moveNextThrow())
        counts[codeOfRow(countries, rows.getText(0), rows.getText(1))] += rows.getInt64(2);
    counts.remove(QString());
    const auto commonest = std::max_element(counts.cbegin(), counts.cend());
    return commonest == counts.cend() ? QString() : commonest.key();
}

} // namespace

QString countryOfPhone(const QString &phoneNumber, const QString &simNumber)
{
    CountryLibDb countries{QString()};
    const QString code = codeOf(countries.countryByNumber(phoneNumber));
    return code.isEmpty() ? codeOfSim(countries, simNumber) : code;
}

QString commonestCountry(Sqlite3DB &db)
{
    struct Place {
        QString table;
        QString address;
    };
    const Place places[] = {
        {u"handle"_s, u"id"_s}, {u"group_member"_s, u"address"_s}, {u"message"_s, u"''"_s}};
    const QHash<QString, QString> tables = tableTexts(db);
    for (const auto &[table, address] : places) {
        if (!tables.contains(table) || !db.tbInfo(table).contains(u"country"_s))
            continue;
        const QString sql = u"select country, %2, count(*) from %1 group by 1, 2"_s;
        const QString code = commonestOf(db.queryThrow(Sqlite3Sql(sql.arg(table, address))));
        if (!code.isEmpty())
            return code;
    }
    return {};
}
