#pragma once

#include "sqlite_qt/absdb.h"
#include "store/people/phonenumbers.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

/// The table of countries: "countries.db" in the data root, copied there from the resources when it is
/// missing. A file that is there stays, also one of an older version.
class CountryLibDb : public AbsDb
{
public:
    /// `mmc` is the phone's mobile country code; the empty text means that no country is known.
    explicit CountryLibDb(const QString &mmc);

    void openDb() override;
    /// Makes `mmc` the code that the constructor was given.
    void useCountry(const QString &mmc);

    /// The country of the code given to the constructor; empty when there is none. Opens the file.
    const _CountryInfo &defaultCountry();

    /// The country of a mobile country code, or the default one with `*found` false. `found` may be null.
    _CountryInfo countryByMmc(const QString &mmc, bool *found = nullptr);
    /// The same by the ISO code of two letters, in either case. Answers are kept: ask as often as you like.
    _CountryInfo countryBySn(const QString &sn, bool *found = nullptr);
    /// The country of an international phone number ("+34 612 345 678"). Of several that share a dialling
    /// code, the one whose mobile numbers look so, else the largest. None for a number of another form.
    std::optional<_CountryInfo> countryByNumber(const QString &number);

private:
    std::optional<_CountryInfo> firstCountry(const Sqlite3Sql &sql);
    const QList<_CountryInfo> &countriesByCode(const QString &code);
    _CountryInfo orCurrent(const std::optional<_CountryInfo> &country, bool *found) const;

    QString mmcCode;
    _CountryInfo current;
    QHash<QString, std::optional<_CountryInfo>> knownBySn;
    QHash<QString, QList<_CountryInfo>> knownByCode;
};

/// One line of the list from which a person picks the phone's country.
struct CountryChoice {
    QString label; ///< "Germany (+49)"
    QString mmc;   ///< the country's first mobile country code
};

/// All countries by English name, in the order in which they are offered.
QList<CountryChoice> countryChoices();
