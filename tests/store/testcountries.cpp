#include "countrylibdb.h"
#include "datalocations.h"
#include "testdatabase.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestCountries : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QFile::remove(file); }
    void tableIsComplete();
    void normalizes_data();
    void normalizes();

private:
    const QString file = dataRoot().absoluteFilePath(u"countries.db"_s);
};

void TestCountries::tableIsComplete()
{
    CountryLibDb library{QString()};
    library.openDb();
    const QStringList all = rowsOf(file, u"select sn from countries"_s);
    QCOMPARE(all.size(), 242);
    QCOMPARE(rowsOf(file, u"select mmc from mmc_sn"_s).size(), 235);
    for (const QString &sn : all) {
        const _CountryInfo country = library.countryBySn(sn);
        QVERIFY2(QRegularExpression(country.mobilePattern).isValid(), qPrintable(sn));
        for (const QString &length : country.numc.split(u','))
            QVERIFY2(length.toInt() >= 4 && isValidLength(country, length.toInt()), qPrintable(sn));
        for (const QString &mmc : country.mmc.split(u',', Qt::SkipEmptyParts)) // a code may be shared
            QCOMPARE(library.countryByMmc(mmc).pnum, country.pnum);
    }
}

void TestCountries::normalizes_data()
{
    QTest::addColumn<QString>("country");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("expected");
    QTest::newRow("separators go and the country comes") << u"ES"_s << u"612 345 678"_s << u"+34612345678"_s;
    QTest::newRow("plus stays") << u"ES"_s << u"+34 (612) 345-678"_s << u"+34612345678"_s;
    QTest::newRow("fixed line is left alone") << u"ES"_s << u"912345678"_s << u"912345678"_s;
    QTest::newRow("mail address is lowered") << u"ES"_s << u"A@B"_s << u"a@b"_s;
    QTest::newRow("name with digits keeps them") << u"ES"_s << u"Info 612 345 678"_s << u"info 612 345 678"_s;
    QTest::newRow("Arabic digits are no digits") << u"ES"_s << u"٦١٢345"_s << u"345"_s;

    QTest::newRow("German trunk zero stays behind a middle alternative")
        << u"DE"_s << u"015112345678"_s << u"+49015112345678"_s;
    QTest::newRow("German trunk zero goes before the first alternative")
        << u"DE"_s << u"0160 1234567"_s << u"+491601234567"_s;

    QTest::newRow("no pattern still reads international ones") << u"SH"_s << u"29051234"_s << u"+29051234"_s;
    QTest::newRow("no country leaves numbers as they are") << QString() << u"612 345 678"_s << u"612345678"_s;
}

void TestCountries::normalizes()
{
    QFETCH(QString, country);
    QFETCH(QString, typed);
    CountryLibDb library{QString()};
    QTEST(normalizeAddress(library.countryBySn(country), typed), "expected");
}

QTEST_GUILESS_MAIN(TestCountries)
#include "testcountries.moc"
