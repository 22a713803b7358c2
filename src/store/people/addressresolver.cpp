#include "store/people/addressresolver.h"

#include <QDebug>

#include <exception>

using namespace Qt::StringLiterals;

AddressResolver::AddressResolver(const QDir &root, const QString &countryCode, const QString &reader)
    : readerName(reader), contacts(root, countryCode), countryLib(countryCode)
{
}

void AddressResolver::useCountry(const QString &countryCode)
{
    contacts.useCountry(countryCode);
    countryLib.useCountry(countryCode);
    normalAddresses.clear();
}

void AddressResolver::openContacts()
{
    if (isContactsDamaged || contacts.isOpen())
        return;
    try {
        contacts.openDb();
        if (!contacts.pictureFailure().isEmpty())
            failContacts(contacts.pictureFailure(), u"the pictures of their people"_s);
    } catch (const std::exception &error) {
        isContactsDamaged = true;
        failContacts(QString::fromUtf8(error.what()), u"the names of their people"_s);
    }
}

void AddressResolver::failContacts(const QString &reason, const QString &loss)
{
    contactsFailure = u"%1. The messages are read without %2."_s.arg(reason, loss);
    qWarning().noquote() << contactsFailure;
}

void AddressResolver::nameHandle(_MsgHandle &handle)
{
    if (!contacts.isOpen())
        return;
    try {
        const _ContactInfo contact = contacts.contactFor(handle.id);
        handle._ct_name = contactName(contact);
        handle._photo = contact.photo;
        handle._contact = contacts.cardOf(handle.id);
    } catch (const std::exception &error) {
        qWarning("%s::chats, IOSContactsMemDb error. %s", qUtf8Printable(readerName), error.what());
    }
}

void AddressResolver::nameHandleByMail(_MsgHandle &handle)
{
    if (!contacts.isOpen() || !handle._ct_name.isEmpty() || !handle.id.contains(u'@'))
        return;
    try {
        const _ContactInfo contact = contacts.contactForMail(handle.id);
        handle._ct_name = contactName(contact);
        handle._photo = contact.photo;
    } catch (const std::exception &error) {
        qWarning("%s::chats, IOSContactsMemDb error. %s", qUtf8Printable(readerName), error.what());
    }
}

QString AddressResolver::normalAddress(const QString &country, const QString &address)
{
    QString &normal = normalAddresses[{country, address}];
    if (normal.isNull()) {
        normal = normalizeAddress(countryLib.countryBySn(country), address);
        if (normal.isNull())
            normal = u""_s; // known, and empty
    }
    return normal;
}

QString AddressResolver::normalAddress(const QString &address)
{
    return normalAddress(QString(), address);
}
