#include "testing/builders/smsschemamodern.h"

#include "testing/builders/smsschema.h"

namespace
{

constexpr IosVersion everyVersion = IosVersion::Ios11;

struct Since {
    IosVersion version;
    const char *sql;
};

constexpr Since messageColumns[] = {
    {everyVersion,
     ", associated_message_guid TEXT, associated_message_type INTEGER DEFAULT 0, balloon_bundle_id TEXT, "
     "payload_data BLOB, expressive_send_style_id TEXT, associated_message_range_location INTEGER DEFAULT 0, "
     "associated_message_range_length INTEGER DEFAULT 0, time_expressive_send_played INTEGER, "
     "message_summary_info BLOB, ck_sync_state INTEGER DEFAULT 0, ck_record_id TEXT, ck_record_change_tag "
     "TEXT, destination_caller_id TEXT"},
    {IosVersion::Ios13,
     ", sr_ck_sync_state INTEGER DEFAULT 0, sr_ck_record_id TEXT, sr_ck_record_change_tag TEXT, is_corrupt "
     "INTEGER DEFAULT 0"},
    {IosVersion::Ios16,
     ", reply_to_guid TEXT, sort_id INTEGER, is_spam INTEGER DEFAULT 0, has_unseen_mention INTEGER DEFAULT "
     "0, "
     "thread_originator_guid TEXT, thread_originator_part TEXT, syndication_ranges TEXT, "
     "synced_syndication_ranges TEXT, was_delivered_quietly INTEGER DEFAULT 0, did_notify_recipient INTEGER "
     "DEFAULT 0, date_retracted INTEGER DEFAULT 0, date_edited INTEGER DEFAULT 0, was_detonated INTEGER "
     "DEFAULT 0, part_count INTEGER"},
    {IosVersion::Ios18,
     ", is_stewie INTEGER DEFAULT 0, is_sos INTEGER DEFAULT 0, is_critical INTEGER DEFAULT 0, "
     "bia_reference_id TEXT DEFAULT NULL, is_kt_verified INTEGER DEFAULT 0, fallback_hash TEXT DEFAULT NULL, "
     "associated_message_emoji TEXT DEFAULT NULL, is_pending_satellite_send INTEGER DEFAULT 0, needs_relay "
     "INTEGER DEFAULT 0, schedule_type INTEGER DEFAULT 0, schedule_state INTEGER DEFAULT 0"},
    {IosVersion::Ios26,
     ", sent_or_received_off_grid INTEGER DEFAULT 0, is_time_sensitive INTEGER DEFAULT 0, ck_chat_id TEXT"},
};

constexpr Since chatColumns[] = {
    {everyVersion,
     ", engram_id TEXT, server_change_token TEXT, ck_sync_state INTEGER DEFAULT 0, original_group_id TEXT, "
     "last_read_message_timestamp INTEGER DEFAULT 0, cloudkit_record_id TEXT"},
    {IosVersion::Ios13,
     ", sr_server_change_token TEXT, sr_ck_sync_state INTEGER DEFAULT 0, sr_cloudkit_record_id TEXT, "
     "last_addressed_sim_id TEXT, is_blackholed INTEGER DEFAULT 0"},
    {IosVersion::Ios16,
     ", syndication_date INTEGER DEFAULT 0, syndication_type INTEGER DEFAULT 0, is_recovered INTEGER DEFAULT "
     "0, is_deleting_incoming_messages INTEGER DEFAULT 0"},
    {IosVersion::Ios26, ", is_pending_review INTEGER DEFAULT 0"},
};

constexpr Since attachmentColumns[] = {
    {everyVersion,
     ", is_sticker INTEGER DEFAULT 0, sticker_user_info BLOB, attribution_info BLOB, hide_attachment INTEGER "
     "DEFAULT 0, ck_sync_state INTEGER DEFAULT 0, ck_server_change_token_blob BLOB, ck_record_id TEXT, "
     "original_guid TEXT UNIQUE NOT NULL"},
    {IosVersion::Ios13, ", sr_ck_sync_state INTEGER DEFAULT 0, sr_ck_server_change_token_blob BLOB, "
                        "sr_ck_record_id TEXT"},
    {IosVersion::Ios16, ", is_commsafety_sensitive INTEGER DEFAULT 0"},
    {IosVersion::Ios18, ", emoji_image_content_identifier TEXT DEFAULT NULL, emoji_image_short_description "
                        "TEXT DEFAULT NULL, preview_generation_state INTEGER DEFAULT 0"},
};

constexpr Since handleColumns[] = {{IosVersion::Ios13, ", person_centric_id TEXT"}};

constexpr Since otherTables[] = {
    {everyVersion, R"sql(
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
CREATE TABLE deleted_messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL);
CREATE TABLE sync_deleted_messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, recordID TEXT);
CREATE TABLE sync_deleted_chats (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, recordID TEXT, timestamp INTEGER);
CREATE TABLE sync_deleted_attachments (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, recordID TEXT);
CREATE TABLE message_processing_task (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, task_flags INTEGER NOT NULL);
CREATE TABLE kvtable (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, key TEXT UNIQUE NOT NULL, value BLOB NOT NULL);
CREATE TABLE chat_handle_join (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, handle_id INTEGER REFERENCES handle (ROWID) ON DELETE CASCADE, UNIQUE(chat_id, handle_id));
CREATE TABLE chat_message_join (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, message_date INTEGER DEFAULT 0, PRIMARY KEY (chat_id, message_id));
CREATE TABLE message_attachment_join (message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, attachment_id INTEGER REFERENCES attachment (ROWID) ON DELETE CASCADE, UNIQUE(message_id, attachment_id));
)sql"},
    {IosVersion::Ios16, R"sql(
CREATE TABLE chat_recoverable_message_join (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, delete_date INTEGER, ck_sync_state INTEGER DEFAULT 0, PRIMARY KEY (chat_id, message_id), CHECK (delete_date != 0));
CREATE TABLE recoverable_message_part (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, part_index INTEGER, delete_date INTEGER, part_text BLOB NOT NULL, ck_sync_state INTEGER DEFAULT 0, PRIMARY KEY (chat_id, message_id, part_index), CHECK (delete_date != 0));
CREATE TABLE unsynced_removed_recoverable_messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, chat_guid TEXT NOT NULL, message_guid TEXT NOT NULL, part_index INTEGER);
)sql"},
    {IosVersion::Ios18, R"sql(
CREATE TABLE chat_lookup (identifier TEXT NOT NULL, domain TEXT NOT NULL, chat INTEGER NOT NULL REFERENCES chat (ROWID) ON UPDATE CASCADE ON DELETE CASCADE, priority INTEGER DEFAULT 0, PRIMARY KEY (identifier, domain, chat));
CREATE TABLE chat_service (service TEXT NOT NULL, chat INTEGER NOT NULL REFERENCES chat (ROWID) ON UPDATE CASCADE ON DELETE CASCADE, PRIMARY KEY (service, chat));
CREATE TABLE sync_chat_slice (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, chat INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, service_name TEXT, ck_sync_state INTEGER DEFAULT 0, ck_record_id TEXT, ck_record_change_tag TEXT);
CREATE TABLE scheduled_messages_pending_cloudkit_delete (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT NULL, recordID TEXT);
)sql"},
    {IosVersion::Ios26, R"sql(
CREATE TABLE index_state (message_id INTEGER PRIMARY KEY REFERENCES message (ROWID) ON DELETE CASCADE, state INTEGER DEFAULT 0);
CREATE TABLE index_state_metrics (state INTEGER PRIMARY KEY, count INTEGER DEFAULT 0);
CREATE TABLE persistent_tasks (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT UNIQUE NOT NULL, lane INTEGER, task BLOB);
)sql"},
};

constexpr Since indexes[] = {
    {everyVersion, R"sql(
CREATE INDEX message_idx_associated_message ON message(associated_message_guid);
CREATE INDEX message_idx_date ON message(date);
CREATE INDEX chat_message_join_idx_message_date_id_chat_id ON chat_message_join(chat_id, message_date, message_id);
CREATE INDEX attachment_idx_is_sticker ON attachment(is_sticker);
CREATE INDEX attachment_idx_purged_attachments_v2 ON attachment(hide_attachment, ck_sync_state, transfer_state) WHERE hide_attachment=0 AND (ck_sync_state=1 OR ck_sync_state=4) AND transfer_state=0;
)sql"},
    {IosVersion::Ios16, R"sql(
CREATE INDEX message_idx_thread_originator_guid ON message(thread_originator_guid);
CREATE INDEX chat_recoverable_message_join_message_id_idx ON chat_recoverable_message_join(message_id);
)sql"},
    {IosVersion::Ios18, R"sql(
CREATE INDEX message_idx_is_pending_satellite_message ON message(is_pending_satellite_send);
CREATE INDEX chat_service_chat_idx ON chat_service(chat);
)sql"},
};

constexpr Since triggers[] = {
    {everyVersion, R"sql(
CREATE TRIGGER add_to_sync_deleted_messages AFTER DELETE ON message BEGIN INSERT INTO sync_deleted_messages (guid, recordID) VALUES (OLD.guid, OLD.ck_record_id); END;
CREATE TRIGGER add_to_sync_deleted_attachments AFTER DELETE ON attachment BEGIN INSERT INTO sync_deleted_attachments (guid, recordID) VALUES (OLD.guid, OLD.ck_record_id); END;
CREATE TRIGGER after_delete_on_message_plugin AFTER DELETE ON message WHEN OLD.balloon_bundle_id IS NOT NULL BEGIN SELECT after_delete_message_plugin(OLD.ROWID, OLD.guid); END;
CREATE TRIGGER delete_associated_messages_after_delete_on_message AFTER DELETE ON message BEGIN DELETE FROM message WHERE OLD.associated_message_guid IS NULL AND associated_message_guid IN (OLD.guid, 'bp:' || OLD.guid, 'p:0/' || OLD.guid, 'p:1/' || OLD.guid, 'p:2/' || OLD.guid, 'p:3/' || OLD.guid); END;
CREATE TRIGGER update_message_date_after_update_on_message AFTER UPDATE OF date ON message BEGIN UPDATE chat_message_join SET message_date = NEW.date WHERE message_id = NEW.ROWID AND message_date != NEW.date; END;
)sql"},
    {IosVersion::Ios18, R"sql(
CREATE TRIGGER add_to_chat_service AFTER INSERT ON chat BEGIN INSERT OR IGNORE INTO chat_service (service, chat) VALUES (NEW.service_name, NEW.ROWID); END;
)sql"},
    {IosVersion::Ios26, R"sql(
CREATE TRIGGER verify_chat_insert BEFORE INSERT ON chat BEGIN SELECT verify_chat(NEW.guid); END;
CREATE TRIGGER verify_chat_update BEFORE UPDATE OF guid ON chat BEGIN SELECT verify_chat(NEW.guid); END;
CREATE TRIGGER add_to_sync_deleted_chats BEFORE DELETE ON chat WHEN is_mic_enabled() BEGIN INSERT INTO sync_deleted_chats (guid, recordID, timestamp) VALUES (guid_for_chat(OLD.chat_identifier, OLD.service_name, OLD.style), OLD.cloudkit_record_id, 0); END;
CREATE TRIGGER delete_chat_background BEFORE DELETE ON chat BEGIN SELECT delete_chat_background_before_deleting_chat(OLD.guid, OLD.properties); END;
CREATE TRIGGER add_index_state AFTER INSERT ON message BEGIN INSERT OR IGNORE INTO index_state (message_id, state) VALUES (NEW.ROWID, 0); END;
CREATE TRIGGER reset_index_state AFTER UPDATE OF text, attributedBody ON message BEGIN UPDATE index_state SET state = 0 WHERE message_id = NEW.ROWID; END;
)sql"},
};

const char *const cleanMessagesIos16 = R"sql(
CREATE TRIGGER clean_orphaned_messages AFTER DELETE ON chat_message_join BEGIN DELETE FROM message WHERE message.ROWID = old.message_id AND (SELECT 1 from chat_message_join WHERE message_id = old.message_id LIMIT 1) IS NULL AND (SELECT 1 from chat_recoverable_message_join WHERE message_id = old.message_id LIMIT 1) IS NULL; END;
)sql";

template <std::size_t count>
QByteArray upTo(IosVersion version, const Since (&list)[count])
{
    QByteArray sql;
    for (const Since &one : list)
        if (one.version <= version)
            sql += one.sql;
    return sql;
}

} // namespace

QByteArray modernTables(IosVersion version)
{
    return upTo(version, otherTables) + "CREATE TABLE message (" + smsMessageColumns(IosVersion::Ios8) +
           upTo(version, messageColumns) + ");\nCREATE TABLE chat (" + smsChatColumns(IosVersion::Ios8) +
           upTo(version, chatColumns) +
           ");\nCREATE TABLE attachment (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, "
           "created_date INTEGER DEFAULT 0, start_date INTEGER DEFAULT 0, filename TEXT, uti TEXT, mime_type "
           "TEXT, transfer_state INTEGER DEFAULT 0, is_outgoing INTEGER DEFAULT 0, user_info BLOB, "
           "transfer_name TEXT, total_bytes INTEGER DEFAULT 0" +
           upTo(version, attachmentColumns) +
           ");\nCREATE TABLE handle (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, id TEXT NOT NULL, "
           "country TEXT, service TEXT NOT NULL, uncanonicalized_id TEXT" +
           upTo(version, handleColumns) + ", UNIQUE (id, service));\n";
}

QByteArray modernIndexes(IosVersion version)
{
    return smsIndexes(IosVersion::Ios8) + upTo(version, indexes);
}

QByteArray modernTriggers(IosVersion version)
{
    return smsWatchingTriggers() +
           (version >= IosVersion::Ios16 ? QByteArray(cleanMessagesIos16) : smsMessageCleaning()) +
           smsHandleCleaning() + smsDeletionLog() + upTo(version, triggers);
}
