#include "store/people/ioscontactsmemdb.h"

#include "app/filetools.h"
#include "sqlite_qt/untoucheddb.h"
#include "sqlite_qt/writetransaction.h"
#include "store/people/countrylibdb.h"
#include "store/records/phonetree.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

const auto cacheSchema =
    u"CREATE TABLE person(  rowid INTEGER PRIMARY KEY,  first TEXT,  last TEXT,  middle TEXT,  photo BLOB);"
    "CREATE TABLE tel(  person_id INTEGER,  number TEXT,  UNIQUE(person_id, number));"
    "CREATE INDEX index_tel_number on tel(number);"_s;

// "person" of a card is the same for all cards that are linked.
const auto furtherSchema =
    u"CREATE TABLE mail(  person_id INTEGER,  address TEXT,  UNIQUE(person_id, address));"
    "CREATE INDEX index_mail_address on mail(address);"
    "CREATE TABLE card(  person_id INTEGER PRIMARY KEY,  person TEXT,  guid TEXT);"_s;

/// What the cache keeps in "user_version": how it is filled (counted up with each change) and for which
/// country.
int cacheVersion(const QString &countryCode)
{
    constexpr int filling = 1;
    return filling * 1000 + countryCode.toInt();
}

QString normalMail(const QString &address)
{
    return address.trimmed().toLower();
}

_ContactInfo contactAt(const Sqlite3Cursor &cursor)
{
    return {.first = cursor.getText(u"first"_s),
            .middle = cursor.getText(u"middle"_s),
            .last = cursor.getText(u"last"_s),
            .photo = cursor.getBlob(u"photo"_s)};
}

/// Seconds since 1970; 0 when the file can't be read.
qint64 modificationTime(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() ? info.lastModified().toSecsSinceEpoch() : 0;
}

} // namespace

QString contactName(const _ContactInfo &contact)
{
    QString name = contact.first;
    for (const QString &part : {contact.middle.trimmed(), contact.last.trimmed()}) {
        if (!part.isEmpty())
            name += u' ' + part;
    }
    return name.trimmed();
}

IOSContactsMemDb::IOSContactsMemDb(const QDir &rootFolder, const QString &mobileCountryCode)
    : root(rootFolder), countryCode(mobileCountryCode)
{
}

QString IOSContactsMemDb::cacheFile() const
{
    return root.absoluteFilePath(u"ct-phone.db"_s);
}

QString IOSContactsMemDb::bookFile(const QString &name) const
{
    return phoneTree(root).filePath(u"var/mobile/Library/AddressBook/"_s + name);
}

void IOSContactsMemDb::openDb()
{
    if (isOpen() || !QFile::exists(bookFile(u"AddressBook.sqlitedb"_s)))
        return;
    // The write-ahead log holds the newest changes.
    const QString log = bookFile(u"AddressBook.sqlitedb-wal"_s);
    const qint64 sourceTime =
        modificationTime(QFile::exists(log) ? log : bookFile(u"AddressBook.sqlitedb"_s));
    if (openCache(sourceTime))
        return;
    rebuildInMemory();
    if (failure.isEmpty() && saveCache(sourceTime))
        openThrow(cacheFile(), sqliteReadOnly);
    // Where the folder can't be written or pictures are missing, the copy in memory serves this time.
}

/// Opens the cache if it is exactly as old as its source and was made for this country: its numbers are in
/// the normal form of that one. A damaged cache is logged and counts as none.
bool IOSContactsMemDb::openCache(qint64 sourceTime)
{
    if (!QFile::exists(cacheFile()) || modificationTime(cacheFile()) != sourceTime)
        return false;
    try {
        openThrow(cacheFile(), sqliteReadOnly);
        Sqlite3Cursor version = queryThrow(Sqlite3Sql("pragma user_version"));
        if (version.moveNextThrow() && version.getInt(0) == cacheVersion(countryCode))
            return true;
    } catch (const std::exception &error) {
        qWarning("%s; the cache is made anew", error.what());
    }
    close();
    return false;
}

void IOSContactsMemDb::rebuildInMemory()
{
    qDebug("rebuild IOSContactsMemDb.");
    openThrow(u":memory:"_s, sqliteReadWriteCreate);
    try {
        QString error;
        if (exec(cacheSchema + furtherSchema, error) != 0)
            throw std::runtime_error(u"create IOSContactsMemDb error. %1"_s.arg(error).toStdString());
        executeThrow(Sqlite3Sql(u"pragma user_version=%1"_s.arg(cacheVersion(countryCode))));
        WriteTransaction transaction(*this);
        UntouchedDb book(bookFile(u"AddressBook.sqlitedb"_s));
        copyPeople(book.db);
        copyNumbers(book.db);
        copyMails(book.db);
        copyCards(book.db);
        copyPhotos();
        transaction.commit();
    } catch (...) {
        close(); // An open connection would pass for a whole address book.
        throw;
    }
}

void IOSContactsMemDb::copyPeople(Sqlite3DB &book)
{
    const QHash<QString, _SqliteCol> columns = book.tbInfo(u"ABPerson"_s);
    const QString nickname = columns.contains(u"Nickname"_s) ? u"Nickname"_s : u"''"_s;
    const QString organization = columns.contains(u"Organization"_s) ? u"Organization"_s : u"''"_s;
    Sqlite3Cursor person = book.queryThrow(
        Sqlite3Sql(u"select rowid, first, last, middle, %1, %2 from ABPerson"_s.arg(nickname, organization)));
    while (person.moveNextThrow()) {
        Sqlite3Sql insert("insert into person(rowid, first, last, middle) values(?,?,?,?)");
        insert.addInt64Param(person.getInt64(0));
        const _ContactInfo name{person.getText(1), person.getText(3), person.getText(2), {}};
        const QString other = person.getText(4).trimmed().isEmpty() ? person.getText(5) : person.getText(4);
        insert.addTextParam(contactName(name).isEmpty() ? other : name.first);
        insert.addTextParam(name.last);
        insert.addTextParam(name.middle);
        executeThrow(insert);
    }
}

void IOSContactsMemDb::copyNumbers(Sqlite3DB &book)
{
    CountryLibDb countries(countryCode);
    const _CountryInfo country = countries.defaultCountry();
    // Property 3 is a phone number.
    Sqlite3Cursor number =
        book.queryThrow(Sqlite3Sql("select record_id, value from ABMultiValue where property=3"));
    while (number.moveNextThrow()) {
        Sqlite3Sql replace("replace into tel(person_id, number) values(?,?)");
        replace.addInt64Param(number.getInt64(0));
        replace.addTextParam(normalizeAddress(country, number.getText(1)));
        executeThrow(replace);
    }
}

void IOSContactsMemDb::copyMails(Sqlite3DB &book)
{
    // Property 4 is an e-mail address.
    Sqlite3Cursor mail =
        book.queryThrow(Sqlite3Sql("select record_id, value from ABMultiValue where property=4"));
    while (mail.moveNextThrow()) {
        Sqlite3Sql replace("replace into mail(person_id, address) values(?,?)");
        replace.addInt64Param(mail.getInt64(0));
        replace.addTextParam(normalMail(mail.getText(1)));
        executeThrow(replace);
    }
}

void IOSContactsMemDb::copyCards(Sqlite3DB &book)
{
    const QHash<QString, _SqliteCol> columns = book.tbInfo(u"ABPerson"_s);
    const QString link = columns.contains(u"PersonLink"_s) ? u"PersonLink"_s : u"-1"_s;
    const QString guid = columns.contains(u"guid"_s) ? u"guid"_s : u"''"_s;
    Sqlite3Cursor card =
        book.queryThrow(Sqlite3Sql(u"select rowid, %1, %2 from ABPerson order by rowid"_s.arg(link, guid)));
    QHash<qint64, QString> linkedGuids;
    while (card.moveNextThrow()) {
        const qint64 linked = card.getInt64(1); // -1 for a card that stands alone
        QString known = linked > 0 ? linkedGuids.value(linked) : QString();
        if (known.isEmpty())
            known = card.getText(2);
        if (linked > 0)
            linkedGuids.insert(linked, known);
        Sqlite3Sql insert("insert into card(person_id, person, guid) values(?,?,?)");
        insert.addInt64Param(card.getInt64(0));
        insert.addTextParam(linked > 0 ? u"linked %1"_s.arg(linked) : u"alone %1"_s.arg(card.getInt64(0)));
        insert.addTextParam(known);
        executeThrow(insert);
    }
}

void IOSContactsMemDb::copyPhotos()
{
    const QString file = bookFile(u"AddressBookImages.sqlitedb"_s);
    if (!QFile::exists(file))
        return;
    try {
        UntouchedDb images(file);
        Sqlite3Cursor image =
            images.db.queryThrow(Sqlite3Sql("select record_id, data from ABThumbnailImage"));
        while (image.moveNextThrow()) {
            Sqlite3Sql update("update person set photo=? where rowid=?");
            update.addBlobParam(image.getBlob(1));
            update.addInt64Param(image.getInt64(0));
            executeThrow(update);
        }
    } catch (const std::exception &error) { // names are worth more than pictures
        failure = QString::fromUtf8(error.what());
    }
}

/// Writes what is in memory into the cache, which thereby counts as exactly as old as its source. The
/// file appears whole or not at all. False, and logged, when it can't be written.
bool IOSContactsMemDb::saveCache(qint64 sourceTime)
{
    try {
        QTemporaryFile file(cacheFile());
        if (!file.open())
            throw std::runtime_error(file.errorString().toStdString());
        Sqlite3Sql vacuum("VACUUM INTO ?");
        vacuum.addTextParam(file.fileName());
        executeThrow(vacuum);
        const QDateTime time = QDateTime::fromSecsSinceEpoch(sourceTime);
        if (!file.setFileTime(time, QFileDevice::FileAccessTime) ||
            !file.setFileTime(time, QFileDevice::FileModificationTime))
            throw std::runtime_error(file.errorString().toStdString());
        file.close();
        renameThrow(file.fileName(), cacheFile());
        return true;
    } catch (const std::exception &error) {
        qWarning("can not write %s: %s", qUtf8Printable(cacheFile()), error.what());
        return false;
    }
}

_ContactInfo IOSContactsMemDb::contactFor(const QString &number)
{
    return onlyOwner(u"tel"_s, u"number"_s, number);
}

_ContactInfo IOSContactsMemDb::contactForMail(const QString &address)
{
    return onlyOwner(u"mail"_s, u"address"_s, normalMail(address));
}

/// The one person whose row of `table` has `value` in `column`.
_ContactInfo IOSContactsMemDb::onlyOwner(const QString &table, const QString &column, const QString &value)
{
    openDb();
    // Values of an address book without a sign of their own are kept empty; no message comes from them.
    if (!isOpen() || value.isEmpty())
        return {};
    Sqlite3Sql sql(
        u"select p.*, c.person as owner from person as p inner join %1 as t on p.rowid=t.person_id "
        "and t.%2=? inner join card as c on c.person_id=p.rowid order by p.rowid"_s.arg(table, column));
    sql.addTextParam(value);
    Sqlite3Cursor cursor = queryThrow(sql);
    if (!cursor.moveNextThrow())
        return {};
    const _ContactInfo contact = contactAt(cursor);
    const QString owner = cursor.getText(u"owner"_s);
    while (cursor.moveNextThrow()) {
        if (cursor.getText(u"owner"_s) != owner)
            return {};
    }
    return contact;
}

QString IOSContactsMemDb::cardOf(const QString &address)
{
    openDb();
    if (!isOpen() || address.isEmpty())
        return {};
    Sqlite3Sql sql(
        "select distinct person, guid from card where person_id in (select person_id from tel where "
        "number=? union select person_id from mail where address=?)");
    sql.addTextParam(address);
    sql.addTextParam(normalMail(address));
    Sqlite3Cursor cursor = queryThrow(sql);
    const QString guid = cursor.moveNextThrow() ? cursor.getText(1) : QString();
    return cursor.moveNextThrow() ? QString() : guid;
}
