#include "store/records/extrasfields.h"

#include "app/appledates.h"
#include "store/records/messagesummary.h"
#include "store/records/reactions.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

using Weight = ExtrasField::Weight;

constexpr std::array fields = {
    ExtrasField{"thread_originator_guid"_L1, &MessageExtras::thread_originator_guid},
    ExtrasField{"thread_originator_part"_L1, &MessageExtras::thread_originator_part, Weight::Beside},
    ExtrasField{"reply_to_guid"_L1, &MessageExtras::reply_to_guid, Weight::Beside},
    ExtrasField{"associated_message_type"_L1, &MessageExtras::associated_message_type},
    ExtrasField{"associated_message_guid"_L1, &MessageExtras::associated_message_guid, Weight::Beside},
    ExtrasField{"associated_message_emoji"_L1, &MessageExtras::associated_message_emoji, Weight::Beside},
    ExtrasField{"balloon_bundle_id"_L1, &MessageExtras::balloon_bundle_id},
    ExtrasField{"payload_data"_L1, &MessageExtras::payload_data, Weight::Beside},
    ExtrasField{"expressive_send_style_id"_L1, &MessageExtras::expressive_send_style_id},
    ExtrasField{"message_summary_info"_L1, &MessageExtras::message_summary_info},
    ExtrasField{"date_edited"_L1, &MessageExtras::date_edited, Weight::Counts, true},
    ExtrasField{"date_retracted"_L1, &MessageExtras::date_retracted, Weight::Counts, true},
    ExtrasField{"delete_date"_L1, &MessageExtras::delete_date, Weight::Counts, true},
    ExtrasField{"schedule_type"_L1, &MessageExtras::schedule_type},
    ExtrasField{"is_text_undecodable"_L1, &MessageExtras::isTextUndecodable},
    ExtrasField{"has_newer_event"_L1, &MessageExtras::hasNewerEvent},
    ExtrasField{"has_part_order"_L1, &MessageExtras::hasPartOrder},
};

int numberAt(const Sqlite3Cursor &cursor, int position, bool isDate)
{
    return isDate ? wholeSeconds(cursor.getInt64(position)) : cursor.getInt(position);
}

/// Whether the value at `position` makes a message one that has extras.
class Counting
{
public:
    Counting(const Sqlite3Cursor &row, int column, const ExtrasField &columnField)
        : cursor(row), position(column), field(columnField)
    {
    }

    bool operator()(int MessageExtras::*member) const
    {
        const int number = numberAt(cursor, position, field.isDate);
        return member == &MessageExtras::associated_message_type ? isReactionType(number) : number != 0;
    }
    bool operator()(bool MessageExtras::*) const { return cursor.getInt(position) != 0; }
    bool operator()(QString MessageExtras::*) const { return !cursor.getUtf8(position).isEmpty(); }
    bool operator()(QByteArray MessageExtras::*) const { return mayTellOfChanges(cursor.getBytes(position)); }

private:
    const Sqlite3Cursor &cursor;
    int position;
    const ExtrasField &field;
};

class Filling
{
public:
    Filling(MessageExtras &target, const Sqlite3Cursor &row, int column, const ExtrasField &columnField)
        : extras(target), cursor(row), position(column), field(columnField)
    {
    }

    void operator()(int MessageExtras::*member) const
    {
        extras.*member = numberAt(cursor, position, field.isDate);
    }
    void operator()(bool MessageExtras::*member) const { extras.*member = cursor.getInt(position) != 0; }
    void operator()(QString MessageExtras::*member) const { extras.*member = cursor.getText(position); }
    void operator()(QByteArray MessageExtras::*member) const { extras.*member = cursor.getBlob(position); }

private:
    MessageExtras &extras;
    const Sqlite3Cursor &cursor;
    int position;
    const ExtrasField &field;
};

struct Binding {
    Sqlite3Sql &sql;
    const MessageExtras &extras;

    void operator()(int MessageExtras::*member) const { sql.addIntParam(extras.*member); }
    void operator()(bool MessageExtras::*member) const { sql.addIntParam(extras.*member ? 1 : 0); }
    void operator()(QString MessageExtras::*member) const { sql.addTextParam(extras.*member); }
    void operator()(QByteArray MessageExtras::*member) const { sql.addBlobParam(extras.*member); }
};

void derive(MessageExtras &extras)
{
    if (!isReactionType(extras.associated_message_type)) {
        extras.associated_message_type = 0;
        extras.associated_message_guid.clear();
        extras.associated_message_emoji.clear();
    }
    if (extras.thread_originator_guid.isEmpty())
        extras.reply_to_guid.clear();
    if (extras.balloon_bundle_id.isEmpty() && extras.associated_message_type == 0)
        extras.payload_data.clear();
    if (mayTellOfChanges(extras.message_summary_info)) {
        const MessageSummary summary = messageSummaryOf(extras.message_summary_info);
        extras.edits = summary.edits;
        extras.retractedParts = summary.retractedParts;
    }
}

} // namespace

std::span<const ExtrasField> extrasFields()
{
    return fields;
}

void bindField(Sqlite3Sql &sql, const ExtrasField &field, const MessageExtras &extras)
{
    std::visit(Binding{sql, extras}, field.member);
}

ExtrasReader::ExtrasReader(const Sqlite3Cursor &cursor)
{
    for (const ExtrasField &field : fields) {
        int position = cursor.columnIndex(field.column);
        if (position < 0)
            position = cursor.columnIndex(u'_' + field.column);
        if (position < 0)
            continue;
        all.push_back({position, &field});
        if (field.weight == Weight::Counts)
            counting.push_back({position, &field});
    }
}

MessageExtrasPtr ExtrasReader::read(const Sqlite3Cursor &cursor) const
{
    const bool hasAny = std::any_of(counting.begin(), counting.end(), [&](const Column &column) {
        return !cursor.isNull(column.position) &&
               std::visit(Counting(cursor, column.position, *column.field), column.field->member);
    });
    if (!hasAny)
        return {};
    MessageExtrasPtr extras(new MessageExtras);
    for (const Column &column : all)
        std::visit(Filling(*extras, cursor, column.position, *column.field), column.field->member);
    derive(*extras);
    return extras;
}
