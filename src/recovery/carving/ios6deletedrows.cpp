#include "recovery/carving/deletedrows.h"
#include "recovery/carving/rawvalues.h"
#include "store/archives/typedstream.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype ios6ShortRow = 38;
constexpr qsizetype ios6LongRow = 50;
constexpr qsizetype serviceColumn = 11;
constexpr qsizetype handleServiceColumn = 3;

_SqliteCol rowNumber()
{
    return {u"ROWID"_s, u"INTEGER"_s, false, false, true};
}

_SqliteCol integer(const QString &name)
{
    return {name, u"INTEGER"_s, false, false, false};
}

_SqliteCol flag(const QString &name)
{
    return {name, u"INTEGER"_s, false, true, false};
}

_SqliteCol text(const QString &name)
{
    return {name, u"TEXT"_s, false, false, false};
}

_SqliteCol neededText(const QString &name)
{
    return {name, u"TEXT"_s, true, false, false};
}

QList<_SqliteCol> ios6Columns()
{
    return {rowNumber(),
            neededText(u"guid"_s),
            text(u"text"_s),
            flag(u"replace"_s),
            text(u"service_center"_s),
            flag(u"handle_id"_s),
            text(u"subject"_s),
            text(u"country"_s),
            {u"attributedBody"_s, u"BLOB"_s, false, false, false},
            flag(u"version"_s),
            flag(u"type"_s),
            text(u"service"_s),
            text(u"account"_s),
            text(u"account_guid"_s),
            flag(u"error"_s),
            integer(u"date"_s),
            integer(u"date_read"_s),
            integer(u"date_delivered"_s),
            flag(u"is_delivered"_s),
            flag(u"is_finished"_s),
            flag(u"is_emote"_s),
            flag(u"is_from_me"_s),
            flag(u"is_empty"_s),
            flag(u"is_delayed"_s),
            flag(u"is_auto_reply"_s),
            flag(u"is_prepared"_s),
            flag(u"is_read"_s),
            flag(u"is_system_message"_s),
            flag(u"is_sent"_s),
            flag(u"has_dd_results"_s),
            flag(u"is_service_message"_s),
            flag(u"is_forward"_s),
            flag(u"was_downgraded"_s),
            flag(u"is_archive"_s),
            flag(u"cache_has_attachments"_s),
            text(u"cache_roomnames"_s),
            flag(u"was_data_detected"_s),
            flag(u"was_deduplicated"_s)};
}

QList<_SqliteCol> ios8Columns()
{
    return ios6Columns() + QList<_SqliteCol>{flag(u"is_audio_message"_s),   flag(u"is_played"_s),
                                             integer(u"date_played"_s),     flag(u"item_type"_s),
                                             flag(u"other_handle"_s),       text(u"group_title"_s),
                                             flag(u"group_action_type"_s),  integer(u"share_status"_s),
                                             integer(u"share_direction"_s), flag(u"is_expirable"_s),
                                             flag(u"expire_state"_s),       flag(u"message_action_type"_s),
                                             flag(u"message_source"_s)};
}

bool isService(const QVariant &value)
{
    const QString service = value.toString();
    return service == "SMS"_L1 || service == "iMessage"_L1;
}

// From value 18 on, one after the other.
constexpr std::array flagMembers = {&_MsgMessage::is_delivered,
                                    &_MsgMessage::is_finished,
                                    &_MsgMessage::is_emote,
                                    &_MsgMessage::is_from_me,
                                    &_MsgMessage::is_empty,
                                    &_MsgMessage::is_delayed,
                                    &_MsgMessage::is_auto_reply,
                                    &_MsgMessage::is_prepared,
                                    &_MsgMessage::is_read,
                                    &_MsgMessage::is_system_message,
                                    &_MsgMessage::is_sent,
                                    &_MsgMessage::has_dd_results,
                                    &_MsgMessage::is_service_message,
                                    &_MsgMessage::is_forward,
                                    &_MsgMessage::was_downgraded,
                                    &_MsgMessage::is_archive,
                                    &_MsgMessage::cache_has_attachments};

/// A date is often the last thing that a message has: a text message was never marked as read.
int dateAt(const Sqlite3RawRow &row, qsizetype column)
{
    return column == row.lastColumn ? wholeSeconds(row.lastNumber) : dateOf(row.values.at(column));
}

void readCommonValues(_MsgMessage &message, const Sqlite3RawRow &row)
{
    const QList<QVariant> &values = row.values;
    message.guid = values.at(1).toString();
    message.text = values.at(2).toString();
    message.replace = intOf(values.at(3));
    message.service_center = values.at(4).toString();
    message.handle_id = longOf(values.at(5));
    message.subject = values.at(6).toString();
    message.country = values.at(7).toString();
    message.attributedBody = values.at(8).toByteArray();
    message.version = intOf(values.at(9));
    message.type = intOf(values.at(10));
    message.service = values.at(serviceColumn).toString();
    message.account = values.at(12).toString();
    message.account_guid = values.at(13).toString();
    message.error = intOf(values.at(14));
    message.date = dateAt(row, 15);
    message.date_read = dateAt(row, 16);
    message.date_delivered = dateAt(row, 17);
    qsizetype column = 18;
    for (const auto member : flagMembers)
        message.*member = intOf(values.at(column++));
    message.cache_roomnames = values.at(35).toString();
    message.was_data_detected = intOf(values.at(36));
    message.was_deduplicated = intOf(values.at(37));
}

void readLaterValues(_MsgMessage &message, const QList<QVariant> &values)
{
    message.is_audio_message = intOf(values.at(38));
    message.is_played = intOf(values.at(39));
    message.date_played = dateOf(values.at(40));
    message.item_type = intOf(values.at(41));
    message.other_handle = intOf(values.at(42));
    message.group_title = values.at(43).toString();
    message.group_action_type = intOf(values.at(44));
    message.share_status = intOf(values.at(45));
    message.share_direction = intOf(values.at(46));
    message.is_expirable = intOf(values.at(47));
    message.expire_state = intOf(values.at(48));
    message.message_action_type = intOf(values.at(49));
}

} // namespace

QList<QList<_SqliteCol>> ios6MessageColumns()
{
    return {ios6Columns(), ios8Columns()};
}

bool isPlausibleIos6Row(const Sqlite3RawRow &row)
{
    return row.values.size() >= ios6ShortRow && isService(row.values.at(serviceColumn));
}

std::optional<_RecycleMessage> rowToIos6Message(const Sqlite3RawRow &row)
{
    if (!isPlausibleIos6Row(row))
        return std::nullopt;
    _RecycleMessage recycled;
    recycled.message.rowid = row.rowid;
    readCommonValues(recycled.message, row);
    if (recycled.message.text.isEmpty()) // newer phones keep the words in the body only
        recycled.message.text =
            textOfTypedStream(recycled.message.attributedBody).value_or(TypedStreamText()).text;
    if (row.values.size() >= ios6LongRow)
        readLaterValues(recycled.message, row.values);
    return recycled;
}

QList<QList<_SqliteCol>> handleColumns()
{
    return {{rowNumber(), neededText(u"id"_s), text(u"country"_s), neededText(u"service"_s),
             text(u"uncanonicalized_id"_s)}};
}

bool isPlausibleHandleRow(const Sqlite3RawRow &row)
{
    return row.values.size() >= 5 && isService(row.values.at(handleServiceColumn));
}

std::optional<_MsgHandle> rowToHandle(const Sqlite3RawRow &row)
{
    if (!isPlausibleHandleRow(row))
        return std::nullopt;
    _MsgHandle handle;
    handle.rowid = row.rowid;
    handle.id = row.values.at(1).toString();
    handle.country = row.values.at(2).toString();
    handle.service = row.values.at(handleServiceColumn).toString();
    handle.uncanonicalized_id = row.values.at(4).toString();
    return handle;
}
