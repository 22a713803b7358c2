#include "tools/samplephone/samplecast.h"

#include "tools/samplephone/samplemedia.h"
#include "tools/samplephone/samplewords.h"

using namespace Qt::StringLiterals;

namespace
{

/// Names that try file systems, markup, spreadsheets and terminals.
const QStringList &hostileNames()
{
    static const QStringList names =
        u"../../../etc/passwd~<script>alert(1)</script> & \"quotes\"~=1+2;\"A\",B~a/b\\c:d*e?\"<>|~"
        "Line\nBreak\tTab~\u202Ecod.exe~CON~   ~\u001B[31mred\u0007~%1 %2 %s %n~'; drop table person; --"_s
            .split(u'~') +
        QStringList{QString(2000, u'X')};
    return names;
}

/// A national number of nine digits as people type it.
QString spelling(const QString &number, int style)
{
    static const QStringList styles = {u"%1 %2 %3"_s, u"+34 %1 %2 %3"_s, u"0034%1%2%3"_s, u"(+34) %1-%2-%3"_s,
                                       u"%1%2%3"_s};
    return styles.at(style).arg(number.first(3), number.sliced(3, 3), number.last(3));
}

void giveForeignNumber(SamplePerson &person, int place, const QString &digits)
{
    static const QList<SampleHandle> abroad = {
        {u"+49151"_s, u"de"_s}, {u"+336"_s, u"fr"_s}, {u"+447"_s, u"gb"_s}, {u"+1415"_s, u"us"_s}};
    const SampleHandle &country = abroad.at(place % int(abroad.size()));
    const qsizetype length = country.country == "us"_L1 ? 7 : country.country == "gb"_L1 ? 9 : 8;
    person.handle.id = country.id + digits.rightJustified(length, u'5').first(length);
    person.handle.country = country.country;
    person.typed = person.handle.id;
}

void giveShortCode(SamplePerson &person, int place)
{
    person.handle.id = place % 2 ? u"INFO"_s % QString::number(place) : QString::number(22000 + place);
    person.hasCard = person.hasIMessage = false;
}

void giveMailAddress(SamplePerson &person, int place)
{
    person.handle.id = u"person"_s % QString::number(place) % u"@example.org"_s;
    person.email = person.handle.id;
    person.hasSms = false;
}

void giveMobile(SamplePerson &person, int place, const QString &digits)
{
    const QString national = u'6' + digits;
    const bool isStoredNational = place % 11 == 9;
    person.handle.id = isStoredNational ? national : u"+34"_s + national;
    if (place % 3 == 0)
        person.handle.uncanonicalized_id = spelling(national, 0);
    person.typed = spelling(national, place % 5);
}

void giveName(SamplePerson &person, int place, SampleRandom &random)
{
    person.first = sampleFirstName(random);
    person.last = sampleLastName(random);
    if (place % 4 == 3)
        person.middle = sampleFirstName(random);
    if (place == 2 || place == 4) {
        person.first = u"Luis"_s;
        person.middle = QString();
        person.last = u"García"_s;
    } else if (place % 7 == 5) {
        person.first = hostileNames().at(place / 7 % int(hostileNames().size()));
        person.last = QString();
    }
}

} // namespace

QList<SamplePerson> sampleCast(int count, SampleRandom &random)
{
    QList<SamplePerson> people;
    people.reserve(count);
    const quint64 offset = random.next() >> 32;
    for (int place = 0; place < count; ++place) {
        SamplePerson person;
        // The eight digits behind the 6 of a mobile; 10007 has no factor in common with their number.
        const QString digits =
            QString::number((offset + quint64(place) * 10007) % 100'000'000).rightJustified(8, u'0');
        giveName(person, place, random);
        person.hasCard = place % 6 != 1;
        if (place % 9 == 7)
            giveForeignNumber(person, place, digits);
        else if (place % 13 == 10)
            giveShortCode(person, place);
        else if (place % 8 == 6)
            giveMailAddress(person, place);
        else
            giveMobile(person, place, digits);
        person.hasPhoto = person.hasCard && place % 2 == 0;
        people.append(person);
    }
    return people;
}

void addCast(AddressBookBuilder &book, const QList<SamplePerson> &people)
{
    quint64 picture = 0;
    for (const SamplePerson &person : people) {
        if (!person.hasCard)
            continue;
        book.person(person.first, person.last, person.middle);
        if (!person.typed.isNull())
            book.phone(person.typed);
        if (!person.email.isNull() && !person.hasLinkedCard)
            book.email(person.email);
        if (person.hasPhoto)
            book.photo(++picture % 2 ? sampleJpeg(8, picture) : samplePng(24, picture));
        if (person.hasLinkedCard)
            book.linkedCard().email(person.email);
    }
}
