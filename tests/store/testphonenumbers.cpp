#include "countrylibdb.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPhoneNumbers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void normalizes_data();
    void normalizes();
    void onlyTheOuterAlternativesAreBound_data();
    void onlyTheOuterAlternativesAreBound();
    void lengths_data();
    void lengths();
    void damagedPatternIsLoggedOnceAndMatchesNothing();
};

void TestPhoneNumbers::normalizes_data()
{
    QTest::addColumn<QString>("country");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *proves, const QString &country, const QString &typed,
                        const QString &expected) { QTest::newRow(proves) << country << typed << expected; };
    row("separators go and the country comes", u"ES"_s, u"612 345 678"_s, u"+34612345678"_s);
    row("plus stays", u"ES"_s, u"+34 (612) 345-678"_s, u"+34612345678"_s);
    row("international without plus", u"ES"_s, u"34612345678"_s, u"+34612345678"_s);
    row("fixed line is left alone", u"ES"_s, u"912345678"_s, u"912345678"_s);
    row("short code only loses its dash", u"ES"_s, u"12-34"_s, u"1234"_s);
    row("mail address is lowered", u"ES"_s, u"A@B"_s, u"a@b"_s);
    row("name of a sender is lowered", u"ES"_s, u"Amazon"_s, u"amazon"_s);
    row("name with digits keeps them", u"ES"_s, u"Info 612 345 678"_s, u"info 612 345 678"_s);
    row("nothing stays nothing", u"ES"_s, u""_s, u""_s);
    row("only separators", u"ES"_s, u"()- "_s, u""_s);
    row("Arabic digits are no digits", u"ES"_s, u"٦١٢345"_s, u"345"_s);
    row("number abroad keeps its plus", u"ES"_s, u"+49 170 1234567"_s, u"+491701234567"_s);

    row("German trunk zero stays behind a middle alternative", u"DE"_s, u"015112345678"_s,
        u"+49015112345678"_s);
    row("German trunk zero goes before the first alternative", u"DE"_s, u"0160 1234567"_s,
        u"+491601234567"_s);
    row("German number without plus", u"DE"_s, u"4915112345678"_s, u"+4915112345678"_s);

    row("British trunk zero goes", u"GB"_s, u"07400 123456"_s, u"+447400123456"_s);
    row("American fixed lines and mobiles are one", u"US"_s, u"(212) 555-0123"_s, u"+12125550123"_s);
    row("Italian mobile", u"IT"_s, u"345 678 9012"_s, u"+393456789012"_s);
    row("no pattern leaves national numbers", u"SH"_s, u"51234"_s, u"51234"_s);
    row("no pattern still reads international ones", u"SH"_s, u"29051234"_s, u"+29051234"_s);
    row("no country leaves numbers as they are", QString(), u"612 345 678"_s, u"612345678"_s);
    row("no country and no number", QString(), u"-"_s, u""_s);
}

void TestPhoneNumbers::normalizes()
{
    QFETCH(QString, country);
    QFETCH(QString, typed);
    CountryLibDb library{QString()};
    const _CountryInfo info = library.countryBySn(country);
    QCOMPARE(info.sn, country);
    QTEST(normalizeAddress(info, typed), "expected");
}

void TestPhoneNumbers::onlyTheOuterAlternativesAreBound_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<bool>("isMobile");
    QTest::newRow("first at the start") << u"119"_s << true;
    QTest::newRow("first further on") << u"911"_s << false;
    QTest::newRow("middle anywhere") << u"9229"_s << true;
    QTest::newRow("last at the end") << u"933"_s << true;
    QTest::newRow("last further ahead") << u"339"_s << false;
    QTest::newRow("nothing") << u""_s << false;
}

void TestPhoneNumbers::onlyTheOuterAlternativesAreBound()
{
    QFETCH(QString, number);
    _CountryInfo country;
    country.mobilePattern = u"^11|22|33$"_s;
    QTEST(isMobileNumber(country, number), "isMobile");
}

void TestPhoneNumbers::lengths_data()
{
    QTest::addColumn<QString>("numc");
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("one length") << u"9"_s << 9 << true;
    QTest::newRow("last of several") << u"7,8,12"_s << 12 << true;
    QTest::newRow("part of a longer one") << u"7,8,12"_s << 1 << false;
    QTest::newRow("no length is not length zero") << u""_s << 0 << false;
    QTest::newRow("words are not length zero") << u"7,x,"_s << 0 << false;
}

void TestPhoneNumbers::lengths()
{
    _CountryInfo country;
    QFETCH(QString, numc);
    QFETCH(int, length);
    country.numc = numc;
    QTEST(isValidLength(country, length), "isValid");
}

void TestPhoneNumbers::damagedPatternIsLoggedOnceAndMatchesNothing()
{
    _CountryInfo damaged;
    damaged.pnum = u"99"_s;
    damaged.numc = u"9"_s;
    damaged.mobilePattern = u"^6(\\d{8}$"_s;
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"6\\(.d\\{8\\}.*missing"_s));
    QCOMPARE(normalizeAddress(damaged, u"612345678"_s), u"612345678"_s);
    QCOMPARE(normalizeAddress(damaged, u"612345678"_s), u"612345678"_s);
}

QTEST_GUILESS_MAIN(TestPhoneNumbers)
#include "testphonenumbers.moc"
