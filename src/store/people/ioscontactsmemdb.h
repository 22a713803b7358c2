#pragma once

#include "sqlite_qt/absdb.h"

#include <QByteArray>
#include <QDir>
#include <QString>

/// What the address book says of one person. Empty in all fields when nothing was found.
struct _ContactInfo {
    QString first; ///< nickname, or else organisation, of a card without any name
    QString middle;
    QString last;
    QByteArray photo; ///< thumbnail; empty when none
};

/// First, middle and last name with one blank between them.
QString contactName(const _ContactInfo &contact);

/// Finds people by phone number or e-mail address. It keeps a cache, "ct-phone.db", of the phone's address
/// book with the numbers in normal form, as old as the address book and made anew when that or the country
/// changes; the cache can be deleted at any time.
class IOSContactsMemDb : public AbsDb
{
public:
    /// `rootFolder` holds "file-relay" and the cache; `mobileCountryCode` is the phone's mobile country code,
    /// which may be empty.
    IOSContactsMemDb(const QDir &rootFolder, const QString &mobileCountryCode);

    /// Another country than the constructor was given. To be called before the first look.
    void useCountry(const QString &mmc) { countryCode = mmc; }

    /// Leaves the connection closed when there is no address book: test `isOpen()` before you ask. Throws
    /// `std::runtime_error` when the address book is damaged. Where only its pictures are, see
    /// `pictureFailure`.
    void openDb() override;

    /// What is wrong with the file of the pictures, which are then missing; empty when nothing is.
    const QString &pictureFailure() const { return failure; }

    /// The person with this number, which has to be in normal form. Empty when there is none, when it stands
    /// on the cards of several people, and when there is no address book.
    _ContactInfo contactFor(const QString &number);

    /// The same by e-mail address, whatever its letter case.
    _ContactInfo contactForMail(const QString &address);

    /// What tells the person with this number (in normal form) or e-mail address: the guid of their card, of
    /// linked cards that of the first. Empty when it is nobody's or several people's, or when the address
    /// book gives its cards no guid.
    QString cardOf(const QString &address);

private:
    _ContactInfo onlyOwner(const QString &table, const QString &column, const QString &value);
    QString cacheFile() const;
    /// A file of the phone's address book folder.
    QString bookFile(const QString &name) const;
    bool openCache(qint64 sourceTime);
    void rebuildInMemory();
    void copyPeople(Sqlite3DB &book);
    void copyNumbers(Sqlite3DB &book);
    void copyMails(Sqlite3DB &book);
    void copyCards(Sqlite3DB &book);
    void copyPhotos();
    bool saveCache(qint64 sourceTime);

    QDir root;
    QString countryCode;
    QString failure;
};
