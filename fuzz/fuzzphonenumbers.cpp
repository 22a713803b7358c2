#include "store/people/countrylibdb.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

/// All countries, and an unknown one at the front.
std::vector<_CountryInfo> allCountries()
{
    const QTemporaryDir dataHome;
    qputenv("XDG_DATA_HOME", dataHome.path().toUtf8());
    CountryLibDb library{QString()};
    std::vector<_CountryInfo> countries{library.defaultCountry()};
    Sqlite3Cursor cursor = library.queryThrow(Sqlite3Sql("select sn from countries order by sn"));
    while (cursor.moveNextThrow())
        countries.push_back(library.countryBySn(cursor.getText(0)));
    return countries;
}

bool isNumber(const QString &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return (c >= u'0' && c <= u'9') || c == u'+'; });
}

} // namespace

/// The first byte picks the country, the rest is the address in UTF-8. A result is a number or lower
/// case, and what is in normal form already stays as it is.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const std::vector<_CountryInfo> countries = allCountries();
    if (size == 0)
        return 0;
    const _CountryInfo &country = countries[data[0] % countries.size()];
    const QString address = QString::fromUtf8(QByteArrayView(data + 1, qsizetype(size - 1)));
    const QString normal = normalizeAddress(country, address);
    if ((!isNumber(normal) && normal != address.toLower()) || normalizeAddress(country, normal) != normal)
        abort();
    return 0;
}
