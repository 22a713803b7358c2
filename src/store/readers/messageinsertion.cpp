#include "store/readers/messageinsertion.h"

#include "store/records/extrasfields.h"

#include <QStringList>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct FlagColumn {
    QLatin1StringView name;
    int _MsgMessage::*member;
};

constexpr std::array flagColumns = {
    FlagColumn{"is_delivered"_L1, &_MsgMessage::is_delivered},
    FlagColumn{"is_finished"_L1, &_MsgMessage::is_finished},
    FlagColumn{"is_emote"_L1, &_MsgMessage::is_emote},
    FlagColumn{"is_from_me"_L1, &_MsgMessage::is_from_me},
    FlagColumn{"is_empty"_L1, &_MsgMessage::is_empty},
    FlagColumn{"is_delayed"_L1, &_MsgMessage::is_delayed},
    FlagColumn{"is_auto_reply"_L1, &_MsgMessage::is_auto_reply},
    FlagColumn{"is_prepared"_L1, &_MsgMessage::is_prepared},
    FlagColumn{"is_read"_L1, &_MsgMessage::is_read},
    FlagColumn{"is_system_message"_L1, &_MsgMessage::is_system_message},
    FlagColumn{"is_sent"_L1, &_MsgMessage::is_sent},
    FlagColumn{"has_dd_results"_L1, &_MsgMessage::has_dd_results},
    FlagColumn{"is_service_message"_L1, &_MsgMessage::is_service_message},
    FlagColumn{"is_forward"_L1, &_MsgMessage::is_forward},
    FlagColumn{"was_downgraded"_L1, &_MsgMessage::was_downgraded},
    FlagColumn{"is_archive"_L1, &_MsgMessage::is_archive},
    FlagColumn{"was_data_detected"_L1, &_MsgMessage::was_data_detected},
    FlagColumn{"was_deduplicated"_L1, &_MsgMessage::was_deduplicated},
};

// Columns that came with later versions of the phone's software.
constexpr std::array laterColumns = {
    FlagColumn{"is_audio_message"_L1, &_MsgMessage::is_audio_message},
    FlagColumn{"is_played"_L1, &_MsgMessage::is_played},
    FlagColumn{"date_played"_L1, &_MsgMessage::date_played},
    FlagColumn{"item_type"_L1, &_MsgMessage::item_type},
    FlagColumn{"group_action_type"_L1, &_MsgMessage::group_action_type},
    FlagColumn{"share_status"_L1, &_MsgMessage::share_status},
    FlagColumn{"share_direction"_L1, &_MsgMessage::share_direction},
    FlagColumn{"is_expirable"_L1, &_MsgMessage::is_expirable},
    FlagColumn{"expire_state"_L1, &_MsgMessage::expire_state},
    FlagColumn{"message_action_type"_L1, &_MsgMessage::message_action_type},
};

// Columns that a message leaves to their default when it has nothing for them.
enum Filled : uint {
    FilledServiceCenter = 1,
    FilledSubject = 2,
    FilledCountry = 4,
    FilledAttributedBody = 8,
    FilledOtherHandle = 16,
    FilledExtras = 32,
};

uint filledColumns(const _MsgMessage &message, bool namesOther, bool hasExtras)
{
    uint filled = 0;
    if (!message.service_center.isEmpty())
        filled |= FilledServiceCenter;
    if (!message.subject.isEmpty())
        filled |= FilledSubject;
    if (!message.country.isEmpty())
        filled |= FilledCountry;
    if (!message.attributedBody.isEmpty())
        filled |= FilledAttributedBody;
    if (namesOther)
        filled |= FilledOtherHandle;
    if (hasExtras)
        filled |= FilledExtras;
    return filled;
}

constexpr int mostColumns = 96;

/// Takes columns with their values; the names only where the text isn't known yet.
class InsertBuilder
{
public:
    explicit InsertBuilder(const QString &knownText) : sql(knownText), needsNames(knownText.isEmpty())
    {
        sql.reserveParams(mostColumns);
    }

    void text(QLatin1StringView column, const QString &value)
    {
        name(column);
        sql.addTextParam(value);
    }
    void number(QLatin1StringView column, qint64 value)
    {
        name(column);
        sql.addInt64Param(value);
    }
    void blob(QLatin1StringView column, const QByteArray &value)
    {
        name(column);
        sql.addBlobParam(value);
    }
    void own(const ExtrasField &field, const MessageExtras &extras)
    {
        if (needsNames)
            names.append(u'_' + field.column);
        bindField(sql, field, extras);
    }
    Sqlite3Sql finish()
    {
        if (needsNames)
            sql.appendSql(u"insert into message(%1) values(%2)"_s.arg(
                names.join(u','), QStringList(names.size(), u"?"_s).join(u',')));
        return sql;
    }

private:
    void name(QLatin1StringView column)
    {
        if (needsNames)
            names.append(column);
    }

    Sqlite3Sql sql;
    QStringList names;
    bool needsNames;
};

void addCommonColumns(InsertBuilder &insert, const _MsgMessage &message, qint64 handleRowid)
{
    insert.text("guid"_L1, message.guid);
    insert.text("text"_L1, message.text);
    insert.number("replace"_L1, message.replace);
    insert.number("handle_id"_L1, handleRowid);
    insert.number("version"_L1, message.version);
    insert.number("type"_L1, message.type);
    insert.text("service"_L1, message.service);
    insert.text("account"_L1, message.account);
    insert.text("account_guid"_L1, message.account_guid);
    insert.number("error"_L1, message.error);
    insert.number("date"_L1, message.date);
    insert.number("date_read"_L1, message.date_read);
    insert.number("date_delivered"_L1, message.date_delivered);
    for (const FlagColumn &column : flagColumns)
        insert.number(column.name, message.*column.member);
    insert.number("cache_has_attachments"_L1, message.attachments.isEmpty() ? 0 : 1);
    insert.text("cache_roomnames"_L1, message.cache_roomnames);
}

void addFilledColumns(InsertBuilder &insert, const _MsgMessage &message, uint filled)
{
    if (filled & FilledServiceCenter)
        insert.text("service_center"_L1, message.service_center);
    if (filled & FilledSubject)
        insert.text("subject"_L1, message.subject);
    if (filled & FilledCountry)
        insert.text("country"_L1, message.country);
    if (filled & FilledAttributedBody)
        insert.blob("attributedBody"_L1, message.attributedBody);
}

} // namespace

MessageInsertion::MessageInsertion(const QString &createText)
    : writesOtherHandle(createText.contains("other_handle"_L1))
    , writesGroupTitle(createText.contains("group_title"_L1))
    , writesLogicHash(createText.contains("logic_hash"_L1))
    , writesExtras(createText.contains("_message_summary_info"_L1))
{
    for (const FlagColumn &column : laterColumns) {
        if (createText.contains(column.name))
            optionalInts.push_back({column.name, column.member});
    }
}

Sqlite3Sql MessageInsertion::sql(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                                 const QString &logicHash)
{
    const uint filled =
        filledColumns(message, writesOtherHandle && otherHandleRowid > 0, writesExtras && message.extras);
    QString &text = texts[filled];
    InsertBuilder insert(text);
    addCommonColumns(insert, message, handleRowid);
    for (const IntColumn &column : optionalInts)
        insert.number(column.name, message.*column.member);
    if (writesGroupTitle)
        insert.text("group_title"_L1, message.group_title);
    if (writesLogicHash)
        insert.text("logic_hash"_L1, logicHash);
    addFilledColumns(insert, message, filled);
    if (filled & FilledOtherHandle)
        insert.number("other_handle"_L1, otherHandleRowid);
    if (filled & FilledExtras) {
        for (const ExtrasField &field : extrasFields())
            insert.own(field, *message.extras);
    }
    Sqlite3Sql sql = insert.finish();
    text = sql.sql();
    return sql;
}
