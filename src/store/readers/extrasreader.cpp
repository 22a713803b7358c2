#include "store/readers/extrasreader.h"

#include "store/content/contentkind.h"
#include "store/readers/recordreader.h"
#include "store/records/messagesummary.h"
#include "store/records/reactions.h"

#include <algorithm>

namespace
{

using ExtrasDate = RecordDate<MessageExtras>;

/// Whether the value at `position` makes a message one that has extras.
struct Telling {
    const Sqlite3Cursor &cursor;
    int position;

    bool operator()(int MessageExtras::*member) const
    {
        const int number = cursor.getInt(position);
        return member == &MessageExtras::associated_message_type ? isReactionType(number) : number != 0;
    }
    bool operator()(ExtrasDate) const { return wholeSeconds(cursor.getInt64(position)) != 0; }
    bool operator()(bool MessageExtras::*) const { return cursor.getInt(position) != 0; }
    bool operator()(QByteArray MessageExtras::*member) const
    {
        const QByteArrayView bytes = cursor.getBytes(position);
        return member == &MessageExtras::message_summary_info ? mayTellOfChanges(bytes) : !bytes.isEmpty();
    }
    bool operator()(QString MessageExtras::*) const { return !cursor.getUtf8(position).isEmpty(); }
    bool operator()(RepeatingText<MessageExtras>) const { return !cursor.getUtf8(position).isEmpty(); }
    bool operator()(qint64 MessageExtras::*) const { return cursor.getInt64(position) != 0; }
    bool operator()(std::monostate) const { return false; }
};

struct Filling {
    MessageExtras &extras;
    const Sqlite3Cursor &cursor;
    int position;

    void operator()(std::monostate) const {}
    void operator()(int MessageExtras::*member) const { extras.*member = cursor.getInt(position); }
    void operator()(qint64 MessageExtras::*member) const { extras.*member = cursor.getInt64(position); }
    void operator()(ExtrasDate date) const { extras.*date.member = wholeSeconds(cursor.getInt64(position)); }
    void operator()(bool MessageExtras::*member) const { extras.*member = cursor.getInt(position) != 0; }
    void operator()(QString MessageExtras::*member) const { extras.*member = cursor.getText(position); }
    void operator()(RepeatingText<MessageExtras> text) const { (*this)(text.member); }
    void operator()(QByteArray MessageExtras::*member) const { extras.*member = cursor.getBlob(position); }
};

void derive(MessageExtras &extras)
{
    if (!isReactionType(extras.associated_message_type)) {
        extras.associated_message_type = 0;
        if (balloonKind(extras.balloon_bundle_id) != ContentKind::Poll) // else the poll that gets new options
            extras.associated_message_guid.clear();
        extras.associated_message_emoji.clear();
    }
    if (extras.thread_originator_guid.isEmpty())
        extras.reply_to_guid.clear();
    if (mayTellOfChanges(extras.message_summary_info)) {
        const MessageSummary summary = messageSummaryOf(extras.message_summary_info);
        extras.edits = summary.edits;
        extras.retractedParts = summary.retractedParts;
    }
}

} // namespace

ExtrasReader::ExtrasReader(const Sqlite3Cursor &cursor)
{
    for (const RecordColumn<MessageExtras> &column : extrasTable()) {
        const int position = positionOf(cursor, column);
        if (position < 0)
            continue;
        all.push_back({position, &column});
        if (!column.traits.isBeside)
            telling.push_back({position, &column});
    }
}

MessageExtrasPtr ExtrasReader::read(const Sqlite3Cursor &cursor) const
{
    const bool hasAny = std::any_of(telling.begin(), telling.end(), [&](const Column &at) {
        return !cursor.isNull(at.position) && std::visit(Telling{cursor, at.position}, at.column->member);
    });
    if (!hasAny)
        return {};
    MessageExtrasPtr extras(new MessageExtras);
    for (const Column &at : all)
        std::visit(Filling{*extras, cursor, at.position}, at.column->member);
    derive(*extras);
    return extras;
}
