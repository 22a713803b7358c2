#include "testing/builders/addressbookbuilder.h"

#include "testing/builders/addressbookmodern.h"
#include "testing/builders/addressbookschema.h"
#include "testing/builders/samplesqlite.h"

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

enum Property { phoneProperty = 3, emailProperty = 4 };
enum Label { mobileLabel = 1, homeLabel = 2 };
/// Seconds since 2001.
constexpr qint64 whenAdded = 350000000;

QString lastFourOf(const QString &number)
{
    QString digits;
    for (const QChar sign : number)
        if (sign.isDigit())
            digits += sign;
    return digits.right(4);
}

/// The rows of the address book proper.
class PeopleWriter
{
public:
    explicit PeopleWriter(SampleSqlite &file)
        : database(file)
        , insertPerson(file.prepare("INSERT INTO ABPerson(First, Last, Middle, Kind, FirstSort, LastSort, "
                                    "CreationDate, ModificationDate, StoreID) VALUES(?,?,?,0,?,?,?,?,0)"))
        , insertValue(file.prepare(
              "INSERT INTO ABMultiValue(record_id, property, identifier, label, value) VALUES(?,?,?,?,?)"))
        , insertLastFour(file.prepare("INSERT INTO ABPhoneLastFour VALUES(?,?)"))
    {
    }

    qint64 addPerson(const QString &first, const QString &last, const QString &middle)
    {
        insertPerson.run(first, last, middle, first.toUpper(), last.toUpper(), whenAdded, whenAdded);
        return database.lastRowid();
    }

    void addPhone(qint64 person, int place, const QString &number)
    {
        insertValue.run(person, int(phoneProperty), place, int(mobileLabel), number);
        insertLastFour.run(database.lastRowid(), lastFourOf(number));
    }

    void addEmail(qint64 person, int place, const QString &address)
    {
        insertValue.run(person, int(emailProperty), place, int(homeLabel), address);
    }

private:
    SampleSqlite &database;
    SampleStatement insertPerson;
    SampleStatement insertValue;
    SampleStatement insertLastFour;
};

} // namespace

AddressBookBuilder::AddressBookBuilder(const QDir &sourceRoot, IosVersion generation)
    : root(sourceRoot), version(generation)
{
}

AddressBookBuilder &AddressBookBuilder::person(const QString &first, const QString &last,
                                               const QString &middle)
{
    people.append({first, last, middle});
    return *this;
}

AddressBookBuilder &AddressBookBuilder::phone(const QString &number)
{
    lastPerson().phones.append(number);
    return *this;
}

AddressBookBuilder &AddressBookBuilder::email(const QString &address)
{
    lastPerson().emails.append(address);
    return *this;
}

AddressBookBuilder &AddressBookBuilder::linkedCard()
{
    Person card{lastPerson().first, lastPerson().last, lastPerson().middle};
    card.isLinked = true;
    people.append(card);
    return *this;
}

AddressBookBuilder &AddressBookBuilder::photo(const QByteArray &image)
{
    lastPerson().photo = image;
    return *this;
}

AddressBookBuilder &AddressBookBuilder::restInLog()
{
    logStart = people.size();
    return *this;
}

AddressBookBuilder::Person &AddressBookBuilder::lastPerson()
{
    if (people.isEmpty())
        throw std::runtime_error("Tell the sample address book a person first.");
    return people.last();
}

QString AddressBookBuilder::write() const
{
    return writeTo(root.filePath(u"file-relay/var/mobile/Library/AddressBook"_s));
}

QString AddressBookBuilder::writeTo(const QDir &folder) const
{
    QString path = folder.filePath(u"AddressBook.sqlitedb"_s);
    SampleSqlite database(path);
    database.execute(addressBookSchema);
    if (isModern(version))
        database.execute(modernAddressBookSchema);
    writePeople(database);
    if (isModern(version))
        writeModernFacts(database);
    if (std::any_of(people.cbegin(), people.cend(), [](const Person &one) { return !one.photo.isEmpty(); }))
        writeImages(folder.filePath(u"AddressBookImages.sqlitedb"_s));
    return path;
}

void AddressBookBuilder::writePeople(SampleSqlite &database) const
{
    PeopleWriter writer(database);
    database.execute("BEGIN");
    for (qsizetype place = 0; place < people.size(); ++place) {
        if (place == logStart) {
            database.execute("COMMIT");
            database.switchToLog();
            database.execute("BEGIN");
        }
        const Person &person = people.at(place);
        const qint64 rowid = writer.addPerson(person.first, person.last, person.middle);
        for (int number = 0; number < person.phones.size(); ++number)
            writer.addPhone(rowid, number, person.phones.at(number));
        for (int number = 0; number < person.emails.size(); ++number)
            writer.addEmail(rowid, number, person.emails.at(number));
    }
    database.execute("COMMIT");
}

/// Guids, links between cards and the search table; the rows of `people` are numbered from 1.
void AddressBookBuilder::writeModernFacts(SampleSqlite &database) const
{
    database.execute("UPDATE ABPerson SET guid=printf('%08X-0000-4000-8000-00000000AB01', ROWID);"
                     "UPDATE ABMultiValue SET guid=printf('%08X-0000-4000-8000-00000000AB02', UID)");
    {
        SampleStatement addLink = database.prepare(
            "INSERT INTO ABPersonLink(PreferredNamePersonID, PreferredImagePersonID) VALUES(?,?)");
        SampleStatement setLink = database.prepare("UPDATE ABPerson SET PersonLink=? WHERE ROWID IN (?,?)");
        SampleSearchTable search(database);
        database.execute("BEGIN");
        for (qsizetype place = 0; place < people.size(); ++place) {
            const Person &person = people.at(place);
            search.add(place + 1, person.first, person.last, person.phones, person.emails);
            if (!person.isLinked)
                continue;
            addLink.run(qint64(place), qint64(place));
            setLink.run(database.lastRowid(), qint64(place), qint64(place + 1));
        }
        database.execute("COMMIT");
        search.finish();
    }
    database.markAsLogged();
}

void AddressBookBuilder::writeImages(const QString &path) const
{
    constexpr int thumbnailFormat = 0;
    SampleSqlite database(path);
    database.execute(addressBookImagesSchema);
    SampleStatement insertThumbnail = database.prepare(
        "INSERT INTO ABThumbnailImage(record_id, format, derived_from_format, data) VALUES(?,?,5,?)");
    SampleStatement insertFull = database.prepare(
        "INSERT INTO ABFullSizeImage(record_id, crop_x, crop_y, crop_width, data) VALUES(?,0,0,64,?)");
    database.execute("BEGIN");
    for (qsizetype place = 0; place < people.size(); ++place) {
        const QByteArray &photo = people.at(place).photo;
        if (photo.isEmpty())
            continue;
        insertThumbnail.run(qint64(place + 1), thumbnailFormat, photo);
        insertFull.run(qint64(place + 1), photo);
    }
    database.execute("COMMIT");
}
