#include "ioscontactsmemdb.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

enum class Journal { Rollback, Log };

/// Writes address books as phones keep them into a folder.
class AddressBook
{
public:
    explicit AddressBook(const QDir &root, Journal journal = Journal::Rollback) : folder(root)
    {
        folder.mkpath(u"file-relay/var/mobile/Library/AddressBook"_s);
        folder.cd(u"file-relay/var/mobile/Library/AddressBook"_s);
        const QString mode = journal == Journal::Log ? u"pragma journal_mode=wal;"_s : QString();
        run(book, u"AddressBook.sqlitedb"_s,
            mode +
                u"create table ABPerson(ROWID integer primary key autoincrement, First text, Last text, "
                u"Middle text);"
                "create table ABMultiValue(UID integer primary key, record_id integer, property integer, value text)"_s);
        if (journal == Journal::Log)
            book.keepLogOnClose();
    }

    AddressBook &person(int id, const QString &first, const QString &middle, const QString &last)
    {
        run(book, {},
            u"insert into ABPerson values(%1, '%2', '%4', '%3')"_s.arg(id).arg(first, middle, last));
        return *this;
    }
    AddressBook &value(int person, int property, const QString &text)
    {
        run(book, {},
            u"insert into ABMultiValue values(null, %1, %2, '%3')"_s.arg(person).arg(property).arg(text));
        return *this;
    }
    AddressBook &phone(int person, const QString &number) { return value(person, 3, number); }
    AddressBook &photo(int person, const QByteArray &bytes)
    {
        run(images, u"AddressBookImages.sqlitedb"_s,
            u"create table if not exists ABThumbnailImage(record_id integer, format integer, data blob)"_s);
        run(images, {},
            u"insert into ABThumbnailImage values(%1, 0, x'%2')"_s.arg(person).arg(
                QString::fromLatin1(bytes.toHex())));
        return *this;
    }
    void close()
    {
        book.close();
        images.close();
    }
    QString path(const QString &suffix = {}) const
    {
        return folder.absoluteFilePath(u"AddressBook.sqlitedb"_s + suffix);
    }

private:
    void run(Sqlite3DB &db, const QString &name, const QString &sql)
    {
        if (!db.isOpen())
            db.openThrow(folder.absoluteFilePath(name), sqliteReadWriteCreate);
        QString error;
        if (db.exec(sql, error) != 0)
            throw std::runtime_error(error.toStdString());
    }

    QDir folder;
    Sqlite3DB book;
    Sqlite3DB images;
};

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

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
}

} // namespace

class TestContacts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void names_data();
    void names();
    void findsPeople_data();
    void findsPeople();
    void withoutAddressBookItStaysClosed();
    void cacheIsAsOldAsItsSource();
    void cacheIsMadeAnewWhenTheSourceChanges_data();
    void cacheIsMadeAnewWhenTheSourceChanges();
    void cacheServesOneCountry();
    void damagedCacheIsMadeAnew();
    void readingChangesNothing_data();
    void readingChangesNothing();
    void damagedBookIsNamedAndLeavesNoCache_data();
    void damagedBookIsNamedAndLeavesNoCache();
    void worksWhereTheCacheCantBeWritten();

private:
    _ContactInfo contact(const QString &number) const
    {
        return IOSContactsMemDb(QDir(dir->path()), u"214"_s).contactFor(number);
    }
    QString cache() const { return dir->filePath(u"ct-phone.db"_s); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestContacts::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

void TestContacts::names_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("middle");
    QTest::addColumn<QString>("last");
    QTest::addColumn<QString>("expected");
    QTest::newRow("all three") << u"Anna"_s << u"Maria"_s << u"Berg"_s << u"Anna Maria Berg"_s;
    QTest::newRow("no middle name") << u"Anna"_s << u""_s << u"Berg"_s << u"Anna Berg"_s;
    QTest::newRow("only a surname") << u""_s << u""_s << u"Berg"_s << u"Berg"_s;
    QTest::newRow("blanks around") << u" Anna"_s << u"  "_s << u" Berg "_s << u"Anna Berg"_s;
    QTest::newRow("nobody") << u""_s << u""_s << u""_s << u""_s;
}

void TestContacts::names()
{
    QFETCH(QString, first);
    QFETCH(QString, middle);
    QFETCH(QString, last);
    QTEST(contactName({.first = first, .middle = middle, .last = last, .photo = {}}), "expected");
}

void TestContacts::findsPeople_data()
{
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("photo");
    QTest::newRow("national number in international form")
        << u"+34612345678"_s << u"Anna Berg"_s << QByteArrayLiteral("new");
    QTest::newRow("number that is no mobile") << u"912345678"_s << u"Anna Berg"_s << QByteArrayLiteral("new");
    QTest::newRow("number abroad") << u"+491701234567"_s << u"José"_s << QByteArray();
    QTest::newRow("person without a name") << u"+34600000000"_s << u""_s << QByteArrayLiteral("x");
    QTest::newRow("number as written") << u"612 345 678"_s << u""_s << QByteArray();
    QTest::newRow("mail address") << u"anna@example.org"_s << u""_s << QByteArray();
    QTest::newRow("no number is nobody") << u""_s << u""_s << QByteArray();
}

void TestContacts::findsPeople()
{
    AddressBook(QDir(dir->path()))
        .person(1, u"Anna"_s, u""_s, u"Berg"_s)
        .person(2, u"José"_s, u""_s, u""_s)
        .person(3, u""_s, u""_s, u""_s)
        .phone(1, u"612 345 678"_s)
        .phone(1, u"0034-612"_s)
        .phone(1, u"91 234 56 78"_s)
        .phone(1, u"(612) 345678"_s)
        .phone(2, u"+49 170 1234567"_s)
        .phone(2, u"#*"_s)
        .phone(3, u"600000000"_s)
        .value(1, 4, u"anna@example.org"_s)
        .photo(1, QByteArrayLiteral("old"))
        .photo(1, QByteArrayLiteral("new"))
        .photo(3, QByteArrayLiteral("x"));
    QFETCH(QString, number);
    const _ContactInfo found = contact(number);
    QTEST(contactName(found), "name");
    QTEST(found.photo, "photo");
}

void TestContacts::withoutAddressBookItStaysClosed()
{
    AddressBook book(QDir(dir->path()));
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).close();
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);

    QVERIFY(QFile::remove(book.path()));
    QVERIFY(QFile::exists(cache()));
    IOSContactsMemDb contacts(QDir(dir->path()), u"214"_s);
    contacts.openDb();
    QVERIFY(!contacts.isOpen());
    QCOMPARE(contacts.contactFor(u"+34612345678"_s).first, QString());
}

void TestContacts::cacheIsAsOldAsItsSource()
{
    AddressBook book(QDir(dir->path()));
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).close();
    setTime(book.path(), 1'400'000'000);
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
    QCOMPARE(timeOf(cache()), 1'400'000'000);

    // What the cache holds is answered, not what the address book holds.
    Sqlite3DB db;
    db.openThrow(cache(), sqliteReadWrite);
    db.executeThrow(Sqlite3Sql("update person set first='Kept'"));
    db.close();
    setTime(cache(), 1'400'000'000);
    QCOMPARE(contact(u"+34612345678"_s).first, u"Kept"_s);
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList(u"ct-phone.db"_s));
}

void TestContacts::cacheIsMadeAnewWhenTheSourceChanges_data()
{
    QTest::addColumn<QString>("touched");
    QTest::addColumn<bool>("isMadeAnew");
    QTest::newRow("the file without a log") << u""_s << true;
    QTest::newRow("only the log") << u"-wal"_s << true;
    QTest::newRow("something else") << u".backup"_s << false;
}

void TestContacts::cacheIsMadeAnewWhenTheSourceChanges()
{
    QFETCH(QString, touched);
    AddressBook book(QDir(dir->path()), touched == u"-wal"_s ? Journal::Log : Journal::Rollback);
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).close();
    contact({});
    setTime(cache(), 1'400'000'000);
    setTime(book.path(), 1'400'000'000);
    if (QFile::exists(book.path(u"-wal"_s)))
        setTime(book.path(u"-wal"_s), 1'400'000'000);

    setTime(book.path(touched), 1'400'000'001);
    IOSContactsMemDb(QDir(dir->path()), u"214"_s).openDb();
    QTEST(timeOf(cache()) == 1'400'000'001, "isMadeAnew");
}

void TestContacts::cacheServesOneCountry()
{
    AddressBook(QDir(dir->path())).person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s);
    IOSContactsMemDb unknown(QDir(dir->path()), {});
    QCOMPARE(unknown.contactFor(u"612345678"_s).first, u"Anna"_s);
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
}

void TestContacts::damagedCacheIsMadeAnew()
{
    AddressBook(QDir(dir->path())).person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s);
    QFile file(cache());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();
    setTime(cache(), QDateTime::currentSecsSinceEpoch() + 1000);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"ct-phone.db: .*made anew"_s));
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
}

void TestContacts::readingChangesNothing_data()
{
    QTest::addColumn<bool>("hasLog");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("changes lie in the log")
        << true << QStringList{u"AddressBook.sqlitedb"_s, u"AddressBook.sqlitedb-wal"_s};
    QTest::newRow("the log is folded in") << false << QStringList{u"AddressBook.sqlitedb"_s};
}

void TestContacts::readingChangesNothing()
{
    QFETCH(bool, hasLog);
    AddressBook book(QDir(dir->path()), Journal::Log);
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).close();
    if (!hasLog) {
        Sqlite3DB db;
        db.openThrow(book.path(), sqliteReadWrite);
        db.executeThrow(Sqlite3Sql("pragma wal_checkpoint"));
        db.close();
        QFile::remove(book.path(u"-wal"_s));
    }
    QFile::remove(book.path(u"-shm"_s));
    const QByteArray before = contentOf(book.path());
    const QByteArray logBefore = contentOf(book.path(u"-wal"_s));
    setTime(book.path(), 1'400'000'000);

    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
    QCOMPARE(contentOf(book.path()), before);
    QCOMPARE(contentOf(book.path(u"-wal"_s)), logBefore);
    QCOMPARE(timeOf(book.path()), 1'400'000'000);
    QStringList files = QFileInfo(book.path()).dir().entryList(QDir::Files, QDir::Name);
    files.removeAll(u"AddressBook.sqlitedb-shm"_s);
    QTEST(files, "left");
}

void TestContacts::damagedBookIsNamedAndLeavesNoCache_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("address book") << u"AddressBook.sqlitedb"_s;
    QTest::newRow("thumbnails") << u"AddressBookImages.sqlitedb"_s;
}

void TestContacts::damagedBookIsNamedAndLeavesNoCache()
{
    QFETCH(QString, name);
    AddressBook book(QDir(dir->path()));
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).photo(1, QByteArrayLiteral("x")).close();
    const QString path = QFileInfo(book.path()).dir().filePath(name);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(4096));
    file.write(QByteArray(int(file.size()) - 4096, '\xff'));
    file.close();

    IOSContactsMemDb contacts(QDir(dir->path()), u"214"_s);
    for (int round = 0; round < 2; ++round) { // the second one must not find a half cache
        try {
            contacts.openDb();
            QFAIL("a damaged file was read");
        } catch (const std::runtime_error &error) {
            QVERIFY2(QByteArray(error.what()).contains(name.toUtf8()), error.what());
        }
        QVERIFY(!contacts.isOpen());
        QCOMPARE(QDir(dir->path()).entryList(QDir::Files), QStringList());
    }
}

void TestContacts::worksWhereTheCacheCantBeWritten()
{
    AddressBook book(QDir(dir->path()));
    book.person(1, u"Anna"_s, {}, {}).phone(1, u"612345678"_s).close();
    setTime(book.path(), QDateTime::currentSecsSinceEpoch() + 1000);
    QVERIFY(QDir(dir->path()).mkpath(u"ct-phone.db/in the way"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"can not write .*ct-phone.db"_s));
    QCOMPARE(contact(u"+34612345678"_s).first, u"Anna"_s);
}

QTEST_GUILESS_MAIN(TestContacts)
#include "testcontacts.moc"
