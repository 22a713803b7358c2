#include "countrylibdb.h"
#include "datalocations.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

QString countriesFile()
{
    return dataRoot().absoluteFilePath(u"countries.db"_s);
}

void replaceCountriesFile(const QByteArray &content)
{
    QFile file(countriesFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QStringList columnOf(Sqlite3DB &db, const char *sql)
{
    QStringList values;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    while (cursor.moveNextThrow())
        values.append(cursor.getText(0));
    return values;
}

} // namespace

class TestCountries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tableIsComplete();
    void everyRowHolds_data();
    void everyRowHolds();
    void findsCountries_data();
    void findsCountries();
    void withoutACodeNoCountryIsKnown();
    void fileOfAnOlderVersionStays();
    void manyStartAtOnce();
    void damagedFileIsNamed();
    void offersCountriesByName();
};

void TestCountries::init()
{
    QFile::remove(countriesFile());
}

void TestCountries::tableIsComplete()
{
    CountryLibDb library{QString()};
    library.openDb();
    QCOMPARE(columnOf(library, "select sn from countries").size(), 242);
    QCOMPARE(columnOf(library, "select mmc from mmc_sn").size(), 235);
    QCOMPARE(columnOf(library, "select sn from countries where r1=''").size(), 3);
    const QStringList lost =
        columnOf(library, "select mmc from mmc_sn where sn not in (select sn from countries)");
    QVERIFY2(lost.isEmpty(), qUtf8Printable(lost.join(u' ')));
}

void TestCountries::everyRowHolds_data()
{
    QTest::addColumn<_CountryInfo>("country");
    CountryLibDb library{QString()};
    library.openDb();
    const QStringList all = columnOf(library, "select sn from countries order by sn");
    for (const QString &sn : all)
        QTest::newRow(qUtf8Printable(sn)) << library.countryBySn(sn);
}

void TestCountries::everyRowHolds()
{
    QFETCH(_CountryInfo, country);
    static const QRegularExpression digits(u"\\A[1-9][0-9]{0,3}\\z"_s);
    QVERIFY(country.sn.size() == 2 && country.sn.isUpper());
    QVERIFY(!country.n.isEmpty() && !country.ln.isEmpty());
    QVERIFY(digits.match(country.pnum).hasMatch());

    const QRegularExpression pattern(country.mobilePattern);
    QVERIFY2(pattern.isValid(), qUtf8Printable(pattern.errorString()));
    for (const QString &length : country.numc.split(u',')) {
        QVERIFY2(length.toInt() >= 4 && length.toInt() <= 15, qUtf8Printable(country.numc));
        QVERIFY(isValidLength(country, length.toInt()));
    }
    CountryLibDb library{QString()};
    for (const QString &mmc : country.mmc.split(u',', Qt::SkipEmptyParts)) {
        bool found = false;
        // A shared code leads to the country whose numbers it brings.
        QCOMPARE(library.countryByMmc(mmc, &found).pnum, country.pnum);
        QVERIFY(found);
    }
}

void TestCountries::findsCountries_data()
{
    QTest::addColumn<QString>("mmc");
    QTest::addColumn<QString>("sn");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isFound");
    QTest::newRow("by code") << u"262"_s << u""_s << u"DE"_s << true;
    QTest::newRow("by the second code of a country") << u"405"_s << u""_s << u"IN"_s << true;
    QTest::newRow("by a code of nobody") << u"999"_s << u""_s << u"ES"_s << false;
    QTest::newRow("by small letters") << u""_s << u"de"_s << u"DE"_s << true;
    QTest::newRow("by letters of nobody") << u""_s << u"qq"_s << u"ES"_s << false;
    QTest::newRow("by letters that would end the statement") << u""_s << u"' or 1=1 --"_s << u"ES"_s << false;
}

void TestCountries::findsCountries()
{
    QFETCH(QString, mmc);
    QFETCH(QString, sn);
    CountryLibDb library(u"214"_s);
    for (int round = 0; round < 2; ++round) { // the second answer is a kept one
        bool found = false;
        const _CountryInfo country =
            mmc.isEmpty() ? library.countryBySn(sn, &found) : library.countryByMmc(mmc, &found);
        QTEST(country.sn, "expected");
        QTEST(found, "isFound");
    }
}

void TestCountries::withoutACodeNoCountryIsKnown()
{
    CountryLibDb library{QString()};
    const _CountryInfo &country = library.defaultCountry();
    QVERIFY(library.isOpen());
    QCOMPARE(country.sn + country.pnum + country.numc + country.mobilePattern, QString());
}

void TestCountries::fileOfAnOlderVersionStays()
{
    {
        CountryLibDb library(u"262"_s);
        QCOMPARE(library.defaultCountry().pnum, u"49"_s);
        library.executeThrow(Sqlite3Sql("update countries set pnum='999' where sn='DE'"));
    }
    CountryLibDb again(u"262"_s);
    QCOMPARE(again.defaultCountry().pnum, u"999"_s);
}

void TestCountries::manyStartAtOnce()
{
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int n = 0; n < 8; ++n) {
        threads.emplace_back([&right] {
            CountryLibDb library(u"262"_s);
            right += library.defaultCountry().n == u"Germany"_s;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(right, 8);
}

void TestCountries::damagedFileIsNamed()
{
    replaceCountriesFile(QByteArray(4096, 'x'));
    CountryLibDb library(u"262"_s);
    for (int round = 0; round < 2; ++round) { // a second try must not pass for an unknown country
        try {
            library.openDb();
            QFAIL("a file of noise was opened");
        } catch (const std::runtime_error &error) {
            QVERIFY2(QByteArray(error.what()).contains(countriesFile().toUtf8()), error.what());
        }
    }
}

void TestCountries::offersCountriesByName()
{
    const QList<CountryChoice> choices = countryChoices();
    QStringList labels;
    QHash<QString, QString> codes;
    for (const CountryChoice &choice : choices) {
        labels.append(choice.label);
        codes.insert(choice.label, choice.mmc);
    }
    QCOMPARE(labels.size(), 242);
    QVERIFY(std::is_sorted(labels.begin(), labels.end()));
    QCOMPARE(codes.value(u"Germany (+49)"_s), u"262"_s);
    QCOMPARE(codes.value(u"United States (+1)"_s), u"310"_s); // the first of its seven
}

QTEST_GUILESS_MAIN(TestCountries)
#include "testcountries.moc"
