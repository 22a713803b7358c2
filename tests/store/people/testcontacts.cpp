#include "app/datalocations.h"
#include "store/people/countrylibdb.h"
#include "store/people/ioscontactsmemdb.h"
#include "store/people/sourcecountry.h"
#include "testing/builders/addressbookbuilder.h"
#include "testing/helpers/testdatabase.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

void setTime(const QString &path, qint64 seconds)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::fromSecsSinceEpoch(seconds), QFileDevice::FileModificationTime));
}

qint64 timeOf(const QString &path)
{
    return QFileInfo(path).lastModified().toSecsSinceEpoch();
}

} // namespace

class TestContacts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void findsPeople();
    void findsPeopleByMail();
    void cacheIsAsOldAsItsSource();
    void damagedCacheIsMadeAnew();
    void damagedBookIsNamedAndLeavesNoCache();
    void worksWhereTheCacheCantBeWritten();
    void tableOfCountriesIsComplete();
    void numbersTellTheirCountry_data();
    void numbersTellTheirCountry();
    void normalizes_data();
    void normalizes();

private:
    _ContactInfo contact(const QString &number) const
    {
        return IOSContactsMemDb(QDir(dir->path()), u"214"_s).contactFor(number);
    }
    QString writeBook() const
    {
        return AddressBookBuilder(dir->path()).person(u"Anna"_s).phone(u"612345678"_s).photo("x").write();
    }
    QString cache() const { return dir->filePath(u"ct-phone.db"_s); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestContacts::findsPeople()
{
    AddressBookBuilder book(dir->path());
    book.person(u"Anna"_s, u"Berg"_s, u" Maria "_s).phone(u"612 345 678"_s).phone(u"91 234 56 78"_s);
    book.photo("image").person(u"José"_s).phone(u"+49 170 1234567"_s).phone(u"()"_s).phone(u"600000001"_s);
    book.person({}).phone(u"0034 600000002"_s).person(u" "_s).phone(u"600000003"_s);
    const QString file = book.person(u"Bo"_s).phone(u"600 000 001"_s).write();
    runOn(file, u"update ABPerson set Organization='ONCE' where rowid in (1,3,4);"
                "update ABPerson set Nickname='Pepe' where rowid in (1,4)"_s);
    QCOMPARE(contactName(contact(u"+34612345678"_s)), u"Anna Maria Berg"_s);
    QCOMPARE(contactName(contact(u"912345678"_s)), u"Anna Maria Berg"_s);
    QCOMPARE(contactName(contact(u"+491701234567"_s)), u"José"_s);
    QCOMPARE(contactName(contact(u"+34600000001"_s)), QString()); // two people's
    QCOMPARE(contactName(contact(u"+34600000002"_s)), u"ONCE"_s);
    QCOMPARE(contactName(contact(u"+34600000003"_s)), u"Pepe"_s);
    QCOMPARE(contactName(contact(u""_s)), QString());
}

void TestContacts::findsPeopleByMail()
{
    AddressBookBuilder book(dir->path());
    book.person(u"Anna"_s).phone(u"612345678"_s).email(u"Anna@Example.org"_s).email(u"both@example.org"_s);
    book.person(u"Bo"_s).phone(u"612345679"_s).email(u"both@example.org"_s);
    book.person(u"Bo at work"_s)
        .email(u"bo@example.org"_s)
        .email(u"home@example.org"_s)
        .person(u"Bo at home"_s);
    const QString file = book.email(u"home@example.org"_s).write();
    IOSContactsMemDb(QDir(dir->path()), u"214"_s).openDb();
    runOn(cache(), u"drop table mail; drop table card; pragma user_version=214"_s); // of an earlier release
    runOn(file, u"alter table ABPerson add column guid; update ABPerson set guid='card' || rowid;"
                "update ABPerson set PersonLink=7 where rowid > 1"_s);
    IOSContactsMemDb contacts(QDir(dir->path()), u"214"_s);
    const QList<std::tuple<QString, QString, QString>> expected = {
        {u"anna@example.ORG"_s, u"Anna"_s, u"card1"_s},
        {u"both@example.org"_s, {}, {}}, // two people's
        {u"home@example.org"_s, u"Bo at work"_s, u"card2"_s},
        {u"nobody@example.org"_s, {}, {}}};
    for (const auto &[address, name, card] : expected) {
        QCOMPARE(contactName(contacts.contactForMail(address)), name);
        QCOMPARE(contacts.cardOf(address), card);
    }
    QCOMPARE(contacts.cardOf(u"+34612345679"_s), u"card2"_s);
    QCOMPARE(contacts.contactFor(u"anna@example.org"_s).first, QString());
}

void TestContacts::cacheIsAsOldAsItsSource()
{
    const QString book = writeBook();
    setTime(book, 1'400'000'000);
    IOSContactsMemDb(QDir(dir->path()), {}).openDb(); // a cache of no country serves no other
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
    QCOMPARE(timeOf(cache()), 1'400'000'000);
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList(u"ct-phone.db"_s));
    for (const QString &touched : {book, QString(book + u"-wal"_s)}) {
        QFile file(touched);
        QVERIFY(file.open(QIODevice::ReadWrite));
        for (const qint64 cacheTime : {1'400'000'000, 1'400'000'002}) { // of an earlier and a later state
            setTime(cache(), cacheTime);
            setTime(book, 1'400'000'000);
            setTime(touched, 1'400'000'001);
            contact({});
            QCOMPARE(timeOf(cache()), 1'400'000'001);
        }
    }
}

void TestContacts::damagedCacheIsMadeAnew()
{
    const QString book = writeBook();
    QVERIFY(writeFile(cache(), QByteArray(4096, 'x')));
    setTime(cache(), timeOf(book));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"ct-phone.db: .*made anew"_s));
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
}

void TestContacts::damagedBookIsNamedAndLeavesNoCache()
{
    for (const QString &name : {u"AddressBookImages.sqlitedb"_s, u"AddressBook.sqlitedb"_s}) {
        const QString file = QFileInfo(writeBook()).dir().filePath(name);
        QVERIFY(writeFile(file, bytesOf(file).first(4096) + QByteArray(20'000, '\xff')));
        IOSContactsMemDb contacts(QDir(dir->path()), u"214"_s);
        for (int round = 0; round < 2; ++round) { // the second one must not find a half cache
            const QString failure = failureOf([&] { contacts.openDb(); }) + contacts.pictureFailure();
            QVERIFY2(failure.contains(name), qPrintable(failure));
            QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList());
            QCOMPARE(contacts.isOpen(), name.contains(u"Images"_s)); // names come without pictures too
        }
    }
}

void TestContacts::worksWhereTheCacheCantBeWritten()
{
    const QString book = writeBook();
    setTime(book, QDateTime::currentSecsSinceEpoch() + 1000);
    QVERIFY(QDir(dir->path()).mkpath(u"ct-phone.db/in the way"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"can not write .*ct-phone.db"_s));
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
}

void TestContacts::tableOfCountriesIsComplete()
{
    const QString file = dataRoot().absoluteFilePath(u"countries.db"_s);
    QFile::remove(file);
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

void TestContacts::numbersTellTheirCountry_data()
{
    QTest::addColumn<QString>("phone");
    QTest::addColumn<QString>("sim");
    QTest::addColumn<QString>("expected");
    QTest::newRow("its own number before the SIM")
        << u"+34 612 34 56 78"_s << u"8949123456789012345"_s << u"214"_s;
    QTest::newRow("SIM for a national number") << u"612345678"_s << u"8949123456789012345"_s << u"262"_s;
    QTest::newRow("North America by the area") << u"+1 (416) 555-1234"_s << QString() << u"302"_s;
    QTest::newRow("else its largest country") << u"+1 800 5551234"_s << QString() << u"310"_s;
    QTest::newRow("American SIM") << QString() << u"8901410321111111111"_s << u"310"_s;
    QTest::newRow("Canadian SIM") << QString() << u"8930272041111111111"_s << u"302"_s;
    QTest::newRow("code of nobody") << u"+"_s << u"89"_s << QString();
}

void TestContacts::numbersTellTheirCountry()
{
    QFETCH(QString, phone);
    QFETCH(QString, sim);
    QTEST(countryOfPhone(phone, sim), "expected");
}

void TestContacts::normalizes_data()
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

    QTest::newRow("what is dialled before the country's own code goes")
        << u"ES"_s << u"0034 612 345 678"_s << u"+34612345678"_s;
    QTest::newRow("and before that of another") << u"ES"_s << u"0049 170 1234567"_s << u"+491701234567"_s;
    QTest::newRow("of several such prefixes none is guessed")
        << u"FI"_s << u"990 49 170 1234567"_s << u"990491701234567"_s;
    QTest::newRow("where they differ, the own code tells")
        << u"FI"_s << u"99035840123456"_s << u"+35840123456"_s;
    QTest::newRow("other scripts are lowered") << u"ES"_s << u"ΔΕΗ"_s << u"δεη"_s;

    QTest::newRow("German trunk zero stays behind a middle alternative")
        << u"DE"_s << u"015112345678"_s << u"+49015112345678"_s;
    QTest::newRow("German trunk zero goes before the first alternative")
        << u"DE"_s << u"0160 1234567"_s << u"+491601234567"_s;

    QTest::newRow("no pattern still reads international ones") << u"SH"_s << u"29051234"_s << u"+29051234"_s;
    QTest::newRow("no country leaves numbers as they are") << QString() << u"612 345 678"_s << u"612345678"_s;
}

void TestContacts::normalizes()
{
    QFETCH(QString, country);
    QFETCH(QString, typed);
    CountryLibDb library{QString()};
    QTEST(normalizeAddress(library.countryBySn(country), typed), "expected");
}

QTEST_GUILESS_MAIN(TestContacts)
#include "testcontacts.moc"
