#pragma once

#include "testing/builders/addressbookbuilder.h"
#include "testing/builders/samplerandom.h"
#include "testing/builders/samplerecords.h"

/// Someone who writes to the phone.
struct SamplePerson {
    SampleHandle handle; ///< address as message databases hold it
    QString first = {};
    QString middle = {};
    QString last = {};
    QString typed = {}; ///< number as the address book holds it; null: not in the book, or by e-mail only
    QString email = {};
    bool hasCard = true; ///< stands in the address book
    bool hasPhoto = false;
    bool hasLinkedCard = false; ///< with the e-mail address, beside the other card
    bool hasSms = true;
    bool hasIMessage = true;
};

/// `count` people with an address each: mobiles of Spain in national and international spelling, numbers
/// abroad, mail addresses, short codes; two share a name, some have names that mean harm.
QList<SamplePerson> sampleCast(int count, SampleRandom &random);

void addCast(AddressBookBuilder &book, const QList<SamplePerson> &people);
