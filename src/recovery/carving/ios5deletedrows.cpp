#include "app/appledates.h"
#include "recovery/carving/deletedrows.h"
#include "recovery/carving/rawvalues.h"
#include "store/people/countrylibdb.h"
#include "store/records/columntables.h"
#include "store/records/messagestore.h"

#include <QDateTime>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype ios5ShortRow = 17;
constexpr qsizetype ios5LongRow = 33;
constexpr qsizetype uiFlagsColumn = 10;
constexpr qsizetype readColumn = 16;
constexpr qsizetype firstMadridColumn = 17;
constexpr qsizetype isMadridColumn = 29;
constexpr int sentFlags = 3;

QList<_SqliteCol> firstColumns(qsizetype count)
{
    QList<_SqliteCol> list;
    for (const Ios5Column &column : ios5MessageTable().first(size_t(count)))
        list.append({column.column.name, column.column.declaration, false, false, false});
    return list;
}

void takeValues(_MsgMessage &message, const QList<QVariant> &values, std::initializer_list<Ios5Use> uses)
{
    const std::span<const Ios5Column> columns = ios5MessageTable();
    const qsizetype count = std::min(qsizetype(columns.size()), values.size());
    for (qsizetype place = 1; place < count; ++place) { // the first one is the row number
        const Ios5Column &column = columns[size_t(place)];
        if (std::find(uses.begin(), uses.end(), column.use) != uses.end())
            takeRawValue(message, column.column, values.at(place));
    }
}

bool isKnownUiFlags(qint64 flags)
{
    return flags == 0 || (flags >= 4 && flags <= 6);
}

/// A text message: of the columns for iMessage nothing is filled.
bool isSms(const QList<QVariant> &values)
{
    if (values.size() < ios5LongRow)
        return true;
    const auto isNull = [&](qsizetype column) { return !values.at(column).isValid(); };
    for (qsizetype column = firstMadridColumn; column < isMadridColumn; ++column) {
        if (!isNull(column))
            return false;
    }
    return longOf(values.at(isMadridColumn)) == 0 && isNull(isMadridColumn + 1) && isNull(isMadridColumn + 2);
}

bool isMadrid(const QList<QVariant> &values)
{
    return values.size() >= ios5LongRow && longOf(values.at(isMadridColumn)) == 1 &&
           values.at(23).toString() == "Madrid"_L1;
}

/// 0 where the sum doesn't fit, which is no date of a message.
int secondsSince2001(qint64 secondsSince1970)
{
    constexpr qint64 latest = appleEpoch + std::numeric_limits<int>::max();
    return secondsSince1970 > appleEpoch && secondsSince1970 <= latest ? int(secondsSince1970 - appleEpoch)
                                                                       : 0;
}

/// What both kinds have.
_MsgMessage commonMessage(const Sqlite3RawRow &row)
{
    _MsgMessage message = takenOverMessage(isSms(row.values) ? u"SMS"_s : u"iMessage"_s);
    message.rowid = row.rowid;
    takeValues(message, row.values, {Ios5Use::All, Ios5Use::Carved});
    return message;
}

void completeSms(_RecycleMessage &recycled, const QList<QVariant> &values, CountryLibDb &countries)
{
    _MsgMessage &message = recycled.message;
    message.guid = newMessageGuid();
    message.account = u"e:"_s;
    message.date = secondsSince2001(longOf(values.at(2)));
    message.date_read = message.date;
    message.date_delivered = message.date;
    message.is_from_me = longOf(values.at(4)) == sentFlags ? 1 : 0;
    recycled.handle = normalizeAddress(countries.countryBySn(message.country), values.at(1).toString());
    recycled.chat_identifier = recycled.handle;
}

void completeMadrid(_RecycleMessage &recycled, const QList<QVariant> &values, CountryLibDb &countries)
{
    _MsgMessage &message = recycled.message;
    takeValues(message, values, {Ios5Use::IMessages});
    message.is_from_me = message.date_delivered > 0 ? 1 : 0;
    recycled.handle = normalizeAddress(countries.defaultCountry(), values.at(18).toString());
    const QString room = values.at(22).toString();
    recycled.chat_identifier = room.isEmpty() ? recycled.handle : room;
}

bool isKnownCountry(CountryLibDb &countries, const QString &sn)
{
    bool found = false;
    countries.countryBySn(sn, &found);
    return found;
}

bool isPossibleDate(int date)
{
    return date > 0 && date <= QDateTime::currentSecsSinceEpoch() - appleEpoch;
}

} // namespace

QList<QList<_SqliteCol>> ios5MessageColumns()
{
    return {firstColumns(ios5ShortRow), firstColumns(ios5LongRow - 1), firstColumns(ios5LongRow)};
}

bool isPlausibleIos5Row(const Sqlite3RawRow &row)
{
    const QList<QVariant> &values = row.values;
    if (values.size() < ios5ShortRow || quint64(longOf(values.at(readColumn))) > 1 ||
        !isKnownUiFlags(longOf(values.at(uiFlagsColumn))))
        return false;
    return values.size() < ios5LongRow || quint64(longOf(values.at(isMadridColumn))) < 2;
}

std::optional<_RecycleMessage> rowToIos5Message(const Sqlite3RawRow &row, CountryLibDb &countries)
{
    const QList<QVariant> &values = row.values;
    if (values.size() < ios5ShortRow || quint64(longOf(values.at(5))) > 1 ||
        !isKnownUiFlags(longOf(values.at(uiFlagsColumn))))
        return std::nullopt;
    _RecycleMessage recycled = {commonMessage(row), {}, {}};
    const QString &country = recycled.message.country;
    if (!country.isEmpty() && !isKnownCountry(countries, country))
        return std::nullopt;
    if (isSms(values)) {
        if (values.at(1).toString().isEmpty())
            return std::nullopt;
        completeSms(recycled, values, countries);
    } else if (isMadrid(values)) {
        completeMadrid(recycled, values, countries);
    } else {
        return std::nullopt;
    }
    return isPossibleDate(recycled.message.date) ? std::optional(recycled) : std::nullopt;
}
