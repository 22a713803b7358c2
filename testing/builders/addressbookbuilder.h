#pragma once

#include "testing/builders/iosversion.h"

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QString>
#include <QStringList>

class SampleSqlite;

/// Writes a phone's address book, of iOS 6 or of iOS 11 and later:
/// AddressBookBuilder(dir).person(u"Anna"_s, u"Berg"_s).phone(u"612 345 678"_s).photo(png).write().
/// A call on "the person" means the one told last.
class AddressBookBuilder
{
public:
    /// Writes below `sourceRoot`, the root folder of a source.
    explicit AddressBookBuilder(const QDir &sourceRoot, IosVersion generation = IosVersion::Ios6);

    /// A null name stands as NULL.
    AddressBookBuilder &person(const QString &first, const QString &last = {}, const QString &middle = {});
    /// As typed: any spelling.
    AddressBookBuilder &phone(const QString &number);
    AddressBookBuilder &email(const QString &address);
    /// A further card of the person before, linked with that one.
    AddressBookBuilder &linkedCard();
    /// The thumbnail; a larger copy goes into the table of full images.
    AddressBookBuilder &photo(const QByteArray &image);
    /// The people that follow stand only in the write-ahead log, which stays beside the file.
    AddressBookBuilder &restInLog();

    /// Path of AddressBook.sqlitedb, in "file-relay/var/mobile/Library/AddressBook" below the root.
    /// AddressBookImages.sqlitedb is written beside it when anyone has a photo. Throws
    /// std::runtime_error.
    QString write() const;
    /// Writes into a folder of your own.
    QString writeTo(const QDir &folder) const;

private:
    struct Person {
        QString first;
        QString last;
        QString middle;
        QStringList phones = {};
        QStringList emails = {};
        QByteArray photo = {};
        bool isLinked = false;
    };

    Person &lastPerson();
    void writePeople(SampleSqlite &database) const;
    void writeModernFacts(SampleSqlite &database) const;
    void writeImages(const QString &path) const;

    QDir root;
    IosVersion version;
    QList<Person> people;
    qsizetype logStart = -1;
};
