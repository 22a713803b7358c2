#include "store/records/columntables.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

using MessageColumn = RecordColumn<_MsgMessage>;
using ChatColumn = RecordColumn<_MsgChat>;
using HandleColumn = RecordColumn<_MsgHandle>;
using AttachmentColumn = RecordColumn<_MsgAttachment>;
using ExtrasColumn = RecordColumn<MessageExtras>;
using ReactionColumn = RecordColumn<MessageReaction>;

constexpr auto keyColumn = "INTEGER PRIMARY KEY AUTOINCREMENT"_L1;
constexpr auto guidColumn = "TEXT UNIQUE NOT NULL"_L1;
constexpr auto textColumn = "TEXT"_L1;
constexpr auto blobColumn = "BLOB"_L1;
constexpr auto numberColumn = "INTEGER"_L1;
constexpr auto flagColumn = "INTEGER DEFAULT 0"_L1;

constexpr ColumnTraits rowNumber = {.inserted = Inserted::Not};
constexpr ColumnTraits ifFilled = {.inserted = Inserted::IfFilled};
constexpr ColumnTraits asTold = {.inserted = Inserted::AsTold};
constexpr ColumnTraits since7 = {.since = Release::Ios7, .local = LocalColumn::Added};
constexpr ColumnTraits given7 = {.since = Release::Ios7}; // or later in the life of iOS 6
constexpr ColumnTraits filledGiven7 = {.since = Release::Ios7, .inserted = Inserted::IfFilled};
constexpr ColumnTraits since8 = {.since = Release::Ios8, .local = LocalColumn::Added};

constexpr ColumnTraits own = {.since = Release::Never};
constexpr ColumnTraits ownTold = {.since = Release::Never, .inserted = Inserted::AsTold};
constexpr ColumnTraits ownAdded = {.since = Release::Never, .local = LocalColumn::Added};

constexpr ColumnTraits aside(Release since, Inserted inserted = Inserted::Always)
{
    return {since, LocalColumn::Aside, inserted};
}

constexpr ColumnTraits beside(Release since)
{
    return {since, LocalColumn::Aside, Inserted::Always, true};
}

constexpr std::array messageColumns = {
    MessageColumn{"ROWID"_L1, &_MsgMessage::rowid, keyColumn, rowNumber},
    MessageColumn{"guid"_L1, &_MsgMessage::guid, guidColumn},
    MessageColumn{"text"_L1, &_MsgMessage::text, textColumn},
    MessageColumn{"replace"_L1, &_MsgMessage::replace, flagColumn},
    MessageColumn{"service_center"_L1, repeatingText(&_MsgMessage::service_center), textColumn, ifFilled},
    MessageColumn{"handle_id"_L1, &_MsgMessage::handle_id, flagColumn, asTold},
    MessageColumn{"subject"_L1, &_MsgMessage::subject, textColumn, ifFilled},
    MessageColumn{"country"_L1, repeatingText(&_MsgMessage::country), textColumn, ifFilled},
    MessageColumn{"attributedBody"_L1, &_MsgMessage::attributedBody, blobColumn, ifFilled},
    MessageColumn{"version"_L1, &_MsgMessage::version, flagColumn},
    MessageColumn{"type"_L1, &_MsgMessage::type, flagColumn},
    MessageColumn{"service"_L1, repeatingText(&_MsgMessage::service), textColumn},
    MessageColumn{"account"_L1, repeatingText(&_MsgMessage::account), textColumn},
    MessageColumn{"account_guid"_L1, repeatingText(&_MsgMessage::account_guid), textColumn},
    MessageColumn{"error"_L1, &_MsgMessage::error, flagColumn},
    MessageColumn{"date"_L1, RecordDate{&_MsgMessage::date}, numberColumn},
    MessageColumn{"date_read"_L1, RecordDate{&_MsgMessage::date_read}, numberColumn},
    MessageColumn{"date_delivered"_L1, RecordDate{&_MsgMessage::date_delivered}, numberColumn},
    MessageColumn{"is_delivered"_L1, &_MsgMessage::is_delivered, flagColumn},
    MessageColumn{"is_finished"_L1, &_MsgMessage::is_finished, flagColumn},
    MessageColumn{"is_emote"_L1, &_MsgMessage::is_emote, flagColumn},
    MessageColumn{"is_from_me"_L1, &_MsgMessage::is_from_me, flagColumn},
    MessageColumn{"is_empty"_L1, &_MsgMessage::is_empty, flagColumn},
    MessageColumn{"is_delayed"_L1, &_MsgMessage::is_delayed, flagColumn},
    MessageColumn{"is_auto_reply"_L1, &_MsgMessage::is_auto_reply, flagColumn},
    MessageColumn{"is_prepared"_L1, &_MsgMessage::is_prepared, flagColumn},
    MessageColumn{"is_read"_L1, &_MsgMessage::is_read, flagColumn},
    MessageColumn{"is_system_message"_L1, &_MsgMessage::is_system_message, flagColumn},
    MessageColumn{"is_sent"_L1, &_MsgMessage::is_sent, flagColumn},
    MessageColumn{"has_dd_results"_L1, &_MsgMessage::has_dd_results, flagColumn},
    MessageColumn{"is_service_message"_L1, &_MsgMessage::is_service_message, flagColumn},
    MessageColumn{"is_forward"_L1, &_MsgMessage::is_forward, flagColumn},
    MessageColumn{"was_downgraded"_L1, &_MsgMessage::was_downgraded, flagColumn},
    MessageColumn{"is_archive"_L1, &_MsgMessage::is_archive, flagColumn},
    MessageColumn{"cache_has_attachments"_L1, &_MsgMessage::cache_has_attachments, flagColumn, asTold},
    MessageColumn{"cache_roomnames"_L1, repeatingText(&_MsgMessage::cache_roomnames), textColumn},
    MessageColumn{"was_data_detected"_L1, &_MsgMessage::was_data_detected, flagColumn},
    MessageColumn{"was_deduplicated"_L1, &_MsgMessage::was_deduplicated, flagColumn},
    MessageColumn{"is_audio_message"_L1, &_MsgMessage::is_audio_message, flagColumn, since7},
    MessageColumn{"is_played"_L1, &_MsgMessage::is_played, flagColumn, since7},
    MessageColumn{"date_played"_L1, RecordDate{&_MsgMessage::date_played}, numberColumn, since7},
    MessageColumn{"item_type"_L1, &_MsgMessage::item_type, flagColumn, since7},
    MessageColumn{"other_handle"_L1,
                  &_MsgMessage::other_handle,
                  "INTEGER DEFAULT -1"_L1,
                  {Release::Ios7, LocalColumn::Added, Inserted::AsTold}},
    MessageColumn{"group_title"_L1, repeatingText(&_MsgMessage::group_title), textColumn, since7},
    MessageColumn{"group_action_type"_L1, &_MsgMessage::group_action_type, flagColumn, since7},
    MessageColumn{"share_status"_L1, &_MsgMessage::share_status, numberColumn, since7},
    MessageColumn{"share_direction"_L1, &_MsgMessage::share_direction, numberColumn, since7},
    MessageColumn{"is_expirable"_L1, &_MsgMessage::is_expirable, flagColumn, since8},
    MessageColumn{"expire_state"_L1, &_MsgMessage::expire_state, flagColumn, since8},
    MessageColumn{"message_action_type"_L1, &_MsgMessage::message_action_type, flagColumn, since8},
    MessageColumn{"message_source"_L1, {}, flagColumn, {Release::Ios8, LocalColumn::Not, Inserted::Not}},
    MessageColumn{"destination_caller_id"_L1, repeatingText(&_MsgMessage::destination_caller_id), textColumn,
                  aside(Release::Ios11, Inserted::IfFilled)},
    MessageColumn{"logic_hash"_L1, {}, textColumn, {Release::Never, LocalColumn::Added, Inserted::AsTold}},
    MessageColumn{"date_nanoseconds"_L1, &_MsgMessage::date_nanoseconds, numberColumn,
                  aside(Release::Never, Inserted::IfFilled)},
    MessageColumn{"is_recovered"_L1, &_MsgMessage::isRecovered, numberColumn,
                  aside(Release::Never, Inserted::IfFilled)},
};

// What `properties` holds is a phone's own affair; the next two are written when all messages are in.
constexpr std::array chatColumns = {
    ChatColumn{"ROWID"_L1, &_MsgChat::rowid, keyColumn, rowNumber},
    ChatColumn{"guid"_L1, &_MsgChat::guid, guidColumn},
    ChatColumn{"style"_L1, &_MsgChat::style, numberColumn},
    ChatColumn{"state"_L1, &_MsgChat::state, numberColumn},
    ChatColumn{"account_id"_L1, &_MsgChat::account_id, textColumn, ifFilled},
    ChatColumn{"properties"_L1, &_MsgChat::properties, blobColumn, {.inserted = Inserted::Not}},
    ChatColumn{"chat_identifier"_L1, &_MsgChat::chat_identifier, textColumn},
    ChatColumn{"service_name"_L1, &_MsgChat::service_name, textColumn},
    ChatColumn{"room_name"_L1, &_MsgChat::room_name, textColumn, ifFilled},
    ChatColumn{"account_login"_L1, &_MsgChat::account_login, textColumn},
    ChatColumn{"is_archived"_L1, &_MsgChat::is_archived, flagColumn},
    ChatColumn{"last_addressed_handle"_L1,
               &_MsgChat::last_addressed_handle,
               textColumn,
               {.inserted = Inserted::Not}},
    ChatColumn{"display_name"_L1, &_MsgChat::display_name, textColumn, filledGiven7},
    ChatColumn{"group_id"_L1,
               &_MsgChat::group_id,
               textColumn,
               {Release::Ios8, LocalColumn::Added, Inserted::AsTold}},
    ChatColumn{"joined_identifier"_L1, &_MsgChat::joined_identifier, textColumn,
               aside(Release::Never, Inserted::IfFilled)},
    ChatColumn{"_last"_L1, &_MsgChat::_last, flagColumn, {Release::Never, LocalColumn::Given, Inserted::Not}},
};

constexpr std::array handleColumns = {
    HandleColumn{"ROWID"_L1, &_MsgHandle::rowid, "INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE"_L1, rowNumber},
    HandleColumn{"id"_L1, &_MsgHandle::id, "TEXT NOT NULL"_L1},
    HandleColumn{"country"_L1, &_MsgHandle::country, textColumn, ifFilled},
    HandleColumn{"service"_L1, &_MsgHandle::service, "TEXT NOT NULL"_L1},
    HandleColumn{"uncanonicalized_id"_L1, &_MsgHandle::uncanonicalized_id, textColumn, ifFilled},
    HandleColumn{"_ct_name"_L1, &_MsgHandle::_ct_name, textColumn, own},
    HandleColumn{"_photo"_L1,
                 &_MsgHandle::_photo,
                 blobColumn,
                 {Release::Never, LocalColumn::Given, Inserted::IfFilled}},
    HandleColumn{"person_centric_id"_L1, &_MsgHandle::person_centric_id, textColumn,
                 aside(Release::Ios12, Inserted::IfFilled)},
    HandleColumn{"contact"_L1, &_MsgHandle::_contact, textColumn, aside(Release::Never, Inserted::IfFilled)},
};

constexpr std::array attachmentColumns = {
    AttachmentColumn{"ROWID"_L1, &_MsgAttachment::rowid, keyColumn, rowNumber},
    AttachmentColumn{"guid"_L1, &_MsgAttachment::guid, guidColumn},
    AttachmentColumn{"created_date"_L1, RecordDate{&_MsgAttachment::created_date}, flagColumn},
    AttachmentColumn{"start_date"_L1, RecordDate{&_MsgAttachment::start_date}, flagColumn},
    AttachmentColumn{"filename"_L1, &_MsgAttachment::filename, textColumn},
    AttachmentColumn{"uti"_L1, repeatingText(&_MsgAttachment::uti), textColumn},
    AttachmentColumn{"mime_type"_L1, repeatingText(&_MsgAttachment::mime_type), textColumn},
    AttachmentColumn{"transfer_state"_L1, &_MsgAttachment::transfer_state, flagColumn},
    AttachmentColumn{"is_outgoing"_L1, &_MsgAttachment::is_outgoing, flagColumn},
    AttachmentColumn{"user_info"_L1, &_MsgAttachment::user_info, blobColumn, filledGiven7},
    AttachmentColumn{"transfer_name"_L1, &_MsgAttachment::transfer_name, textColumn, filledGiven7},
    AttachmentColumn{"total_bytes"_L1, &_MsgAttachment::total_bytes, flagColumn, given7},
    AttachmentColumn{"is_sticker"_L1, &_MsgAttachment::is_sticker, numberColumn, aside(Release::Ios11)},
    AttachmentColumn{"hide_attachment"_L1, &_MsgAttachment::hide_attachment, numberColumn,
                     aside(Release::Ios11)},
    AttachmentColumn{"emoji_image_short_description"_L1, &_MsgAttachment::emoji_image_short_description,
                     textColumn, aside(Release::Ios18, Inserted::IfFilled)},
};

constexpr std::array extrasColumns = {
    ExtrasColumn{"thread_originator_guid"_L1, &MessageExtras::thread_originator_guid, textColumn,
                 aside(Release::Ios14)},
    ExtrasColumn{"thread_originator_part"_L1, &MessageExtras::thread_originator_part, textColumn,
                 beside(Release::Ios14)},
    ExtrasColumn{"reply_to_guid"_L1, &MessageExtras::reply_to_guid, textColumn, beside(Release::Ios14)},
    ExtrasColumn{"associated_message_type"_L1, &MessageExtras::associated_message_type, numberColumn,
                 aside(Release::Ios10)},
    ExtrasColumn{"associated_message_guid"_L1, &MessageExtras::associated_message_guid, textColumn,
                 beside(Release::Ios10)},
    ExtrasColumn{"associated_message_emoji"_L1, &MessageExtras::associated_message_emoji, textColumn,
                 beside(Release::Ios18)},
    ExtrasColumn{"balloon_bundle_id"_L1, &MessageExtras::balloon_bundle_id, textColumn,
                 aside(Release::Ios10)},
    ExtrasColumn{"payload_data"_L1, &MessageExtras::payload_data, blobColumn, aside(Release::Ios10)},
    ExtrasColumn{"expressive_send_style_id"_L1, &MessageExtras::expressive_send_style_id, textColumn,
                 aside(Release::Ios10)},
    ExtrasColumn{"message_summary_info"_L1, &MessageExtras::message_summary_info, blobColumn,
                 aside(Release::Ios11)},
    ExtrasColumn{"date_edited"_L1, RecordDate{&MessageExtras::date_edited}, numberColumn,
                 aside(Release::Ios16)},
    ExtrasColumn{"date_retracted"_L1, RecordDate{&MessageExtras::date_retracted}, numberColumn,
                 aside(Release::Ios16)},
    ExtrasColumn{"delete_date"_L1, RecordDate{&MessageExtras::delete_date}, numberColumn,
                 aside(Release::Never)},
    ExtrasColumn{"schedule_type"_L1, &MessageExtras::schedule_type, numberColumn, aside(Release::Ios18)},
    ExtrasColumn{"is_spam"_L1, &MessageExtras::is_spam, numberColumn,
                 aside(Release::Ios12, Inserted::IfFilled)},
    ExtrasColumn{"filter_action"_L1, &MessageExtras::filter_action, numberColumn,
                 aside(Release::Ios18, Inserted::IfFilled)},
    ExtrasColumn{"sent_or_received_off_grid"_L1, &MessageExtras::sent_or_received_off_grid, numberColumn,
                 aside(Release::Ios18, Inserted::IfFilled)},
    ExtrasColumn{"is_text_undecodable"_L1, &MessageExtras::isTextUndecodable, numberColumn,
                 aside(Release::Never)},
    ExtrasColumn{"has_newer_event"_L1, &MessageExtras::hasNewerEvent, numberColumn, aside(Release::Never)},
    ExtrasColumn{"has_part_order"_L1, &MessageExtras::hasPartOrder, numberColumn, aside(Release::Never)},
};

constexpr std::array reactionColumns = {
    ReactionColumn{
        "ROWID"_L1, &MessageReaction::rowid, keyColumn, {Release::Never, LocalColumn::Given, Inserted::Not}},
    ReactionColumn{
        "message_id"_L1, {}, "INTEGER NOT NULL REFERENCES message (ROWID) ON DELETE CASCADE"_L1, ownTold},
    ReactionColumn{"guid"_L1, &MessageReaction::guid, "TEXT NOT NULL"_L1, own},
    ReactionColumn{"associated_message_type"_L1, &MessageReaction::associated_message_type, numberColumn,
                   own},
    ReactionColumn{"associated_message_emoji"_L1, &MessageReaction::associated_message_emoji, textColumn,
                   own},
    ReactionColumn{"part"_L1, &MessageReaction::part, numberColumn, own},
    ReactionColumn{"is_from_me"_L1, &MessageReaction::is_from_me, numberColumn, own},
    ReactionColumn{"handle_id"_L1, {}, numberColumn, ownTold},
    ReactionColumn{"date"_L1, RecordDate{&MessageReaction::date}, numberColumn, own},
    ReactionColumn{"service"_L1, &MessageReaction::service, textColumn, own},
    ReactionColumn{"text"_L1, &MessageReaction::text, textColumn, own},
    ReactionColumn{"payload_data"_L1, &MessageReaction::payload_data, blobColumn, ownAdded},
    ReactionColumn{"message_summary_info"_L1, &MessageReaction::message_summary_info, blobColumn, ownAdded},
};

// Columns of a phone before iOS 6.
constexpr std::array ios5Columns = {
    Ios5Column{{"ROWID"_L1, &_MsgMessage::rowid, numberColumn}, Ios5Use::All},
    Ios5Column{{"address"_L1, {}, textColumn}},
    Ios5Column{{"date"_L1, &_MsgMessage::date, numberColumn}, Ios5Use::IMessages},
    Ios5Column{{"text"_L1, &_MsgMessage::text, textColumn}, Ios5Use::All},
    Ios5Column{{"flags"_L1, {}, numberColumn}},
    Ios5Column{{"replace"_L1, &_MsgMessage::replace, numberColumn}, Ios5Use::Carved},
    Ios5Column{{"svc_center"_L1, repeatingText(&_MsgMessage::service_center), textColumn}, Ios5Use::All},
    Ios5Column{{"group_id"_L1, {}, numberColumn}},
    Ios5Column{{"association_id"_L1, {}, numberColumn}},
    Ios5Column{{"height"_L1, {}, numberColumn}},
    Ios5Column{{"UIFlags"_L1, {}, numberColumn}},
    Ios5Column{{"version"_L1, &_MsgMessage::version, numberColumn}, Ios5Use::Carved},
    Ios5Column{{"subject"_L1, &_MsgMessage::subject, textColumn}, Ios5Use::All},
    Ios5Column{{"country"_L1, repeatingText(&_MsgMessage::country), textColumn}, Ios5Use::All},
    Ios5Column{{"headers"_L1, {}, blobColumn}},
    Ios5Column{{"recipients"_L1, {}, blobColumn}},
    Ios5Column{{"read"_L1, {}, numberColumn}},
    Ios5Column{{"madrid_attributedBody"_L1, &_MsgMessage::attributedBody, blobColumn}, Ios5Use::IMessages},
    Ios5Column{{"madrid_handle"_L1, {}, textColumn}},
    Ios5Column{{"madrid_version"_L1, {}, numberColumn}},
    Ios5Column{{"madrid_guid"_L1, &_MsgMessage::guid, textColumn}, Ios5Use::IMessages},
    Ios5Column{{"madrid_type"_L1, {}, numberColumn}},
    Ios5Column{{"madrid_roomname"_L1, {}, textColumn}},
    Ios5Column{{"madrid_service"_L1, {}, textColumn}},
    Ios5Column{{"madrid_account"_L1, repeatingText(&_MsgMessage::account), textColumn}, Ios5Use::IMessages},
    Ios5Column{{"madrid_flags"_L1, {}, numberColumn}},
    Ios5Column{{"madrid_attachmentInfo"_L1, {}, blobColumn}},
    Ios5Column{{"madrid_url"_L1, {}, textColumn}},
    Ios5Column{{"madrid_error"_L1, &_MsgMessage::error, numberColumn}, Ios5Use::IMessages},
    Ios5Column{{"is_madrid"_L1, {}, numberColumn}},
    Ios5Column{{"madrid_date_read"_L1, &_MsgMessage::date_read, numberColumn}, Ios5Use::IMessages},
    Ios5Column{{"madrid_date_delivered"_L1, &_MsgMessage::date_delivered, numberColumn}, Ios5Use::IMessages},
    Ios5Column{{"madrid_account_guid"_L1, repeatingText(&_MsgMessage::account_guid), textColumn},
               Ios5Use::IMessages},
};

} // namespace

RecordColumns<_MsgMessage> messageTable()
{
    return messageColumns;
}

RecordColumns<_MsgChat> chatTable()
{
    return chatColumns;
}

RecordColumns<_MsgHandle> handleTable()
{
    return handleColumns;
}

RecordColumns<_MsgAttachment> attachmentTable()
{
    return attachmentColumns;
}

RecordColumns<MessageExtras> extrasTable()
{
    return extrasColumns;
}

RecordColumns<MessageReaction> reactionTable()
{
    return reactionColumns;
}

std::span<const Ios5Column> ios5MessageTable()
{
    return ios5Columns;
}
