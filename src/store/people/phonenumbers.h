#pragma once

#include <QString>

/// What the program knows of a country. Empty in all fields when no country is known.
struct _CountryInfo {
    QString sn;   ///< ISO 3166 code of two letters, upper case
    QString n;    ///< name in English
    QString ln;   ///< name in the country's own language
    QString pnum; ///< international dialling code without "+"
    QString mmc;  ///< mobile country codes, comma-separated
    QString numc; ///< lengths of a national number, comma-separated
    /// Regular expression of a national mobile number between "^" and "$"; empty where none is known.
    QString mobilePattern;
    QString callPrefix; ///< regular expression of what is dialled before an international number: "00"
};

/// Whether a national number of the country can have `length` digits.
bool isValidLength(const _CountryInfo &country, qsizetype length);

/// Whether the country's pattern matches anywhere in `number`. The pattern is not put in a group: of
/// top-level alternatives only the first is bound to the start and only the last to the end.
bool isMobileNumber(const _CountryInfo &country, const QString &number);

/// The one form in which addresses are kept and compared. Phone numbers lose their separators and, where
/// the country's rules leave no doubt, become international; mail addresses and names of senders, in
/// whatever script, are put in lower case.
QString normalizeAddress(const _CountryInfo &country, const QString &address);
