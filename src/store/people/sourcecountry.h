#pragma once

#include <QString>

class Sqlite3DB;

// The country of a source, by whose rules national numbers become international ones. Answers are mobile
// country codes ("214"), empty where nothing tells a country.

/// The country of a phone by its own number and the number of its SIM card (ICCID), either of which may be
/// empty.
QString countryOfPhone(const QString &phoneNumber, const QString &simNumber);

/// The country of most of the addresses in a message database of any generation, or else of most of its
/// messages.
QString commonestCountry(Sqlite3DB &db);
