#pragma once

#include "store/people/countrylibdb.h"
#include "store/people/ioscontactsmemdb.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QHash>
#include <QString>

#include <utility>

/// What the readers of both generations stand on besides their file: the phone's address book and the
/// rules of its country.
class AddressResolver
{
public:
    /// `reader` stands in the log before what went wrong.
    AddressResolver(const QDir &root, const QString &countryCode, const QString &reader);

    /// Another country than the one it was made with. To be called before anything is looked up.
    void useCountry(const QString &countryCode);

    /// Opens the address book. A source without one is fine; with a damaged one, which is logged, people go
    /// without names.
    void openContacts();
    /// What is wrong with the address book, for people to read. Told once: empty when asked again.
    QString takeContactsFailure() { return std::exchange(contactsFailure, {}); }

    /// Name and photo of the contact whose number is the handle's `id`; empty for a stranger. Changes
    /// nothing without an address book, and when looking up fails, which is logged.
    void nameHandle(_MsgHandle &handle);
    /// The same for a handle whose `id` is an e-mail address, where nobody has it for a number.
    void nameHandleByMail(_MsgHandle &handle);

    /// `address` in normal form by the rules of `country`, the phone's own where that is unknown. Answers
    /// are kept: addresses of messages come again and again.
    QString normalAddress(const QString &country, const QString &address);
    /// The same by the rules of the phone's country.
    QString normalAddress(const QString &address);
    /// ISO code of the phone's country in lower case; empty when unknown.
    QString ownCountry() { return countryLib.defaultCountry().sn.toLower(); }

private:
    void failContacts(const QString &reason, const QString &loss);

    QString readerName;
    QString contactsFailure;
    bool isContactsDamaged = false;
    IOSContactsMemDb contacts;
    CountryLibDb countryLib;
    QHash<std::pair<QString, QString>, QString> normalAddresses; // by country and address
};
