#include "recovery/exact/rowrules.h"

#include "app/appledates.h"
#include "recovery/exact/rowfinder.h"
#include "store/archives/typedstream.h"

#include <QCryptographicHash>
#include <QDateTime>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 secondsOfYear = 366 * 24 * 3600;
constexpr qint64 startOf1999 = 915148800; // in Unix seconds
constexpr int mostFlags = 255;
constexpr int sentFlags = 3;
constexpr int failedFlags = 33;

/// A date of this message in any unit that phones have counted in: seconds since 2001 or since 1970,
/// nanoseconds since 2001. 0 stands for none.
bool isPossibleDate(qint64 value)
{
    const qint64 latest = QDateTime::currentSecsSinceEpoch() + secondsOfYear;
    const auto isSince1999 = [&](qint64 unixSeconds) {
        return unixSeconds >= startOf1999 && unixSeconds <= latest;
    };
    if (value >= firstNanoseconds || value <= -firstNanoseconds)
        return isSince1999(value / 1'000'000'000 + appleEpoch);
    return value == 0 || isSince1999(value + appleEpoch) || isSince1999(value);
}

bool isPossibleAddress(const QString &text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](QChar sign) { return sign.isPrint(); });
}

bool isFlagColumn(const QString &name)
{
    static constexpr std::array prefixes = {"is_"_L1, "was_"_L1, "has_"_L1, "cache_has_"_L1};
    return name == "flags"_L1 || name == "read"_L1 || name == "uiflags"_L1 ||
           std::any_of(prefixes.begin(), prefixes.end(),
                       [&](QLatin1StringView prefix) { return name.startsWith(prefix); });
}

bool isDateColumn(const QString &name)
{
    return name == "date"_L1 || name.startsWith("date_"_L1) || name.startsWith("madrid_date"_L1);
}

bool isSent(qint64 flags)
{
    return flags == sentFlags || flags == failedFlags;
}

RowIdentity hashOf(const QByteArray &bytes)
{
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Md5);
    return {numberAt<quint64>(hash, 0), numberAt<quint64>(hash, 8)};
}

} // namespace

RowRules::RowRules(RowKind rowKind, const TableShape &shape)
    : kind(rowKind)
    , services({u""_s, u"SMS"_s, u"iMessage"_s, u"RCS"_s, u"iMessageLite"_s, u"Madrid"_s})
    , guid(shape.columnIndex(rowKind == RowKind::OldMessage ? "madrid_guid"_L1 : "guid"_L1))
    , text(shape.columnIndex("text"_L1))
    , body(shape.columnIndex(rowKind == RowKind::OldMessage ? "madrid_attributedbody"_L1
                                                            : "attributedbody"_L1))
    , date(shape.columnIndex("date"_L1))
    , address(shape.columnIndex(rowKind == RowKind::Handle ? "id"_L1 : "address"_L1))
    , flags(shape.columnIndex("flags"_L1))
    , otherAddress(shape.columnIndex("madrid_handle"_L1))
    , room(shape.columnIndex("madrid_roomname"_L1))
    , identifier(shape.columnIndex("chat_identifier"_L1))
    , service(shape.columnIndex("service"_L1))
{
    for (int column = 1; column < int(shape.columns.size()); ++column) {
        const QString &name = shape.columns[size_t(column)].name;
        if (column == guid && kind != RowKind::OldMessage)
            checks.emplace_back(column, kind == RowKind::Chat ? Check::ChatGuid : Check::Guid);
        else if (name == "service"_L1 || name == "service_name"_L1)
            checks.emplace_back(column, Check::Service);
        else if (name == "address"_L1 || (name == "id"_L1 && kind == RowKind::Handle))
            checks.emplace_back(column, Check::Address);
        else if (isFlagColumn(name))
            checks.emplace_back(column, Check::Flag);
        else if (isDateColumn(name))
            checks.emplace_back(column, Check::Date);
    }
}

void RowRules::observe(const FoundRow &row)
{
    if (has(row, service))
        services.insert(valueOf(row, service).toString());
}

bool RowRules::isTelling(int column) const
{
    return kind != RowKind::Message || column == guid || column == service;
}

const QVariant &RowRules::valueOf(const FoundRow &row, int column)
{
    static const QVariant none;
    return column >= 0 && column < row.values.size() ? row.values.at(column) : none;
}

bool RowRules::has(const FoundRow &row, int column)
{
    return valueOf(row, column).isValid();
}

bool RowRules::accepts(const FoundRow &row) const
{
    const bool isSound = std::all_of(checks.begin(), checks.end(), [&](const auto &check) {
        const QVariant &value = valueOf(row, check.first);
        return !value.isValid() || passes(check.second, value);
    });
    return isSound && hasWhatItNeeds(row);
}

bool RowRules::passes(Check check, const QVariant &value) const
{
    switch (check) {
    case Check::Guid: return value.toString().size() == 36 && beginsWithGuid(value.toString().toLatin1());
    case Check::ChatGuid: return value.toString().contains(";-;"_L1) || value.toString().contains(";+;"_L1);
    case Check::Service: return services.contains(value.toString());
    case Check::Date: return isPossibleDate(value.toLongLong());
    case Check::Flag: return value.toLongLong() >= 0 && value.toLongLong() <= mostFlags;
    case Check::Address: return isPossibleAddress(value.toString());
    }
    return false;
}

bool RowRules::hasWhatItNeeds(const FoundRow &row) const
{
    const auto isMissing = [&](int column) { return row.missing.contains(column); };
    switch (kind) {
    case RowKind::Handle: return has(row, address) && has(row, service);
    case RowKind::Chat:
        return has(row, guid) && has(row, identifier) &&
               valueOf(row, guid).toString().endsWith(u';' + valueOf(row, identifier).toString());
    case RowKind::OldMessage:
        return (has(row, address) || has(row, otherAddress) || has(row, room)) && has(row, flags) &&
               valueOf(row, date).toLongLong() != 0 && !isMissing(text);
    case RowKind::Message: break;
    }
    const bool hasWords = !isMissing(text) && (has(row, text) || !isMissing(body));
    return has(row, guid) && (hasWords || has(row, date));
}

int RowRules::bodyThatAgrees(const FoundRow &row) const
{
    if (!has(row, body) || !has(row, text))
        return -1;
    const std::optional<TypedStreamText> archived = textOfTypedStream(valueOf(row, body).toByteArray());
    return archived && archived->text == valueOf(row, text).toString() ? body : -1;
}

FindGrade RowRules::gradeOf(const FoundRow &row) const
{
    if (row.missing.isEmpty())
        return FindGrade::Whole;
    return row.missing.contains(date) ? FindGrade::Text : FindGrade::Partial;
}

std::optional<RowIdentity> RowRules::identityOf(const FoundRow &row) const
{
    if (has(row, guid) && !valueOf(row, guid).toString().isEmpty())
        return hashOf(valueOf(row, guid).toString().toUtf8());
    if (kind == RowKind::Handle && has(row, address))
        return hashOf(
            QString(valueOf(row, address).toString() + u'\n' + valueOf(row, service).toString()).toUtf8());
    return identityByText(row);
}

std::optional<RowIdentity> RowRules::identityByText(const FoundRow &row) const
{
    if (kind != RowKind::OldMessage || !has(row, date))
        return std::nullopt;
    const QVariant &who = has(row, address) ? valueOf(row, address) : valueOf(row, otherAddress);
    const QString direction = isSent(valueOf(row, flags).toLongLong()) ? u"\nsent\n"_s : u"\nreceived\n"_s;
    return hashOf(QString(who.toString() + u'\n' + valueOf(row, date).toString() + direction +
                          valueOf(row, text).toString())
                      .toUtf8());
}
