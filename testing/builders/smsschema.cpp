#include "testing/builders/smsschema.h"

#include "testing/builders/smsschemamodern.h"

namespace
{

/// Columns that every generation from iOS 6 on has, and the ones that came later, in file order.
QByteArray messageColumnsUpTo(IosVersion version)
{
    QByteArray columns =
        "ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, text TEXT, replace INTEGER "
        "DEFAULT "
        "0, service_center TEXT, handle_id INTEGER DEFAULT 0, subject TEXT, country TEXT, attributedBody "
        "BLOB, "
        "version INTEGER DEFAULT 0, type INTEGER DEFAULT 0, service TEXT, account TEXT, account_guid TEXT, "
        "error INTEGER DEFAULT 0, date INTEGER, date_read INTEGER, date_delivered INTEGER, is_delivered "
        "INTEGER DEFAULT 0, is_finished INTEGER DEFAULT 0, is_emote INTEGER DEFAULT 0, is_from_me INTEGER "
        "DEFAULT 0, is_empty INTEGER DEFAULT 0, is_delayed INTEGER DEFAULT 0, is_auto_reply INTEGER DEFAULT "
        "0, "
        "is_prepared INTEGER DEFAULT 0, is_read INTEGER DEFAULT 0, is_system_message INTEGER DEFAULT 0, "
        "is_sent "
        "INTEGER DEFAULT 0, has_dd_results INTEGER DEFAULT 0, is_service_message INTEGER DEFAULT 0, "
        "is_forward "
        "INTEGER DEFAULT 0, was_downgraded INTEGER DEFAULT 0, is_archive INTEGER DEFAULT 0, "
        "cache_has_attachments INTEGER DEFAULT 0, cache_roomnames TEXT, was_data_detected INTEGER DEFAULT 0, "
        "was_deduplicated INTEGER DEFAULT 0";
    if (version >= IosVersion::Ios7)
        columns += ", is_audio_message INTEGER DEFAULT 0, is_played INTEGER DEFAULT 0, date_played INTEGER, "
                   "item_type INTEGER DEFAULT 0, other_handle INTEGER DEFAULT -1, group_title TEXT, "
                   "group_action_type INTEGER DEFAULT 0, share_status INTEGER, share_direction INTEGER";
    if (version >= IosVersion::Ios8)
        columns += ", is_expirable INTEGER DEFAULT 0, expire_state INTEGER DEFAULT 0, message_action_type "
                   "INTEGER DEFAULT 0, message_source INTEGER DEFAULT 0";
    return columns;
}

QByteArray chatColumnsUpTo(IosVersion version)
{
    QByteArray columns =
        "ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, style INTEGER, "
        "state INTEGER, account_id TEXT, properties BLOB, chat_identifier TEXT, service_name "
        "TEXT, room_name TEXT, account_login TEXT, is_archived INTEGER DEFAULT 0, "
        "last_addressed_handle TEXT";
    if (version >= IosVersion::Ios7)
        columns += ", display_name TEXT";
    if (version >= IosVersion::Ios8)
        columns += ", group_id TEXT, is_filtered INTEGER, successful_query INTEGER";
    return columns;
}

const char *const tablesBesideMessage = R"sql(
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, guid TEXT UNIQUE NOT NULL, created_date INTEGER DEFAULT 0, start_date INTEGER DEFAULT 0, filename TEXT, uti TEXT, mime_type TEXT, transfer_state INTEGER DEFAULT 0, is_outgoing INTEGER DEFAULT 0, user_info BLOB, transfer_name TEXT, total_bytes INTEGER DEFAULT 0);
CREATE TABLE handle (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, id TEXT NOT NULL, country TEXT, service TEXT NOT NULL, uncanonicalized_id TEXT, UNIQUE (id, service));
CREATE TABLE chat_handle_join (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, handle_id INTEGER REFERENCES handle (ROWID) ON DELETE CASCADE, UNIQUE(chat_id, handle_id));
CREATE TABLE chat_message_join (chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE, message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, PRIMARY KEY (chat_id, message_id));
CREATE TABLE message_attachment_join (message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE, attachment_id INTEGER REFERENCES attachment (ROWID) ON DELETE CASCADE, UNIQUE(message_id, attachment_id));
)sql";

const char *const commonIndexes = R"sql(
CREATE INDEX message_idx_is_read ON message(is_read, is_from_me, is_finished);
CREATE INDEX message_idx_failed ON message(is_finished, is_from_me, error);
CREATE INDEX message_idx_handle ON message(handle_id, date);
CREATE INDEX message_idx_was_downgraded ON message(was_downgraded);
CREATE INDEX chat_idx_identifier ON chat(chat_identifier);
CREATE INDEX chat_idx_room_name ON chat(room_name);
CREATE INDEX chat_idx_is_archived ON chat(is_archived);
CREATE INDEX chat_message_join_idx_message_id ON chat_message_join(message_id, chat_id);
CREATE INDEX chat_handle_join_idx_handle_id ON chat_handle_join(handle_id, chat_id);
CREATE INDEX message_attachment_join_idx_attachment_id ON message_attachment_join(attachment_id, message_id);
)sql";

const char *const commonTriggers = R"sql(
CREATE TRIGGER set_message_has_attachments AFTER INSERT ON message_attachment_join BEGIN UPDATE message SET cache_has_attachments = 1 WHERE message.ROWID = new.message_id; END;
CREATE TRIGGER clear_message_has_attachments AFTER DELETE ON message_attachment_join BEGIN UPDATE message SET cache_has_attachments = 0 WHERE message.ROWID = old.message_id AND (SELECT 1 from message_attachment_join WHERE message_id = old.message_id LIMIT 1) IS NULL; END;
CREATE TRIGGER clean_orphaned_attachments AFTER DELETE ON message_attachment_join BEGIN DELETE FROM attachment WHERE attachment.ROWID = old.attachment_id AND (SELECT 1 from message_attachment_join WHERE attachment_id = old.attachment_id LIMIT 1) IS NULL; END;
CREATE TRIGGER update_message_roomname_cache_insert AFTER INSERT ON chat_message_join BEGIN UPDATE message SET cache_roomnames = (SELECT group_concat(c.room_name) FROM chat c INNER JOIN chat_message_join j ON c.ROWID = j.chat_id WHERE j.message_id = new.message_id) WHERE message.ROWID = new.message_id; END;
CREATE TRIGGER update_message_roomname_cache_delete AFTER DELETE ON chat_message_join BEGIN UPDATE message SET cache_roomnames = (SELECT group_concat(c.room_name) FROM chat c INNER JOIN chat_message_join j ON c.ROWID = j.chat_id WHERE j.message_id = old.message_id) WHERE message.ROWID = old.message_id; END;
CREATE TRIGGER before_delete_on_attachment BEFORE DELETE ON attachment BEGIN SELECT before_delete_attachment_path(OLD.ROWID, OLD.guid); END;
CREATE TRIGGER after_delete_on_attachment AFTER DELETE ON attachment BEGIN SELECT delete_attachment_path(OLD.filename); END;
)sql";

const char *const cleaningTriggersIos6 = R"sql(
CREATE TRIGGER clean_orphaned_messages AFTER DELETE ON chat_message_join BEGIN DELETE FROM message WHERE (SELECT 1 from chat_message_join WHERE message_id = message.rowid LIMIT 1) IS NULL; END;
CREATE TRIGGER clean_orphaned_handles AFTER DELETE ON chat_handle_join BEGIN DELETE FROM handle WHERE handle.ROWID = old.handle_id AND (SELECT 1 from chat_handle_join WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE handle_id = old.handle_id LIMIT 1) IS NULL; END;
CREATE TRIGGER clean_orphaned_handles2 AFTER DELETE ON message BEGIN DELETE FROM handle WHERE handle.ROWID = old.handle_id AND (SELECT 1 from chat_handle_join WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE handle_id = old.handle_id LIMIT 1) IS NULL; END;
)sql";

const char *const cleanMessagesIos7 = R"sql(
CREATE TRIGGER clean_orphaned_messages AFTER DELETE ON chat_message_join BEGIN DELETE FROM message WHERE message.ROWID = old.message_id AND (SELECT 1 from chat_message_join WHERE message_id = old.message_id LIMIT 1) IS NULL; END;
)sql";

const char *const cleanHandlesIos7 = R"sql(
CREATE TRIGGER clean_orphaned_handles AFTER DELETE ON chat_handle_join BEGIN DELETE FROM handle WHERE handle.ROWID = old.handle_id AND (SELECT 1 from chat_handle_join WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE other_handle = old.handle_id LIMIT 1) IS NULL; END;
CREATE TRIGGER clean_orphaned_handles2 AFTER DELETE ON message BEGIN DELETE FROM handle WHERE handle.ROWID = old.handle_id AND (SELECT 1 from chat_handle_join WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE handle_id = old.handle_id LIMIT 1) IS NULL AND (SELECT 1 from message WHERE other_handle = old.handle_id LIMIT 1) IS NULL; END;
)sql";

const char *const deletionLogIos8 = R"sql(
CREATE TRIGGER add_to_deleted_messages AFTER DELETE ON message BEGIN INSERT INTO deleted_messages (guid) VALUES (OLD.guid); END;
)sql";

} // namespace

QByteArray smsTables(IosVersion version)
{
    if (version == IosVersion::Ios5)
        return ios5Tables();
    if (isModern(version))
        return modernTables(version);
    QByteArray sql = tablesBesideMessage;
    sql.append("CREATE TABLE message (").append(messageColumnsUpTo(version)).append(");\n");
    sql.append("CREATE TABLE chat (").append(chatColumnsUpTo(version)).append(");\n");
    if (version >= IosVersion::Ios8)
        sql += "CREATE TABLE deleted_messages (ROWID INTEGER PRIMARY KEY AUTOINCREMENT UNIQUE, guid TEXT NOT "
               "NULL);\n";
    return sql;
}

QByteArray smsIndexes(IosVersion version)
{
    if (version == IosVersion::Ios5)
        return ios5Indexes();
    if (isModern(version))
        return modernIndexes(version);
    QByteArray sql = commonIndexes;
    if (version >= IosVersion::Ios7)
        sql +=
            "CREATE INDEX message_idx_other_handle ON message(other_handle);\n"
            "CREATE INDEX message_idx_isRead_isFromMe_itemType ON message(is_read, is_from_me, item_type);\n";
    if (version >= IosVersion::Ios8)
        sql += "CREATE INDEX message_idx_expire_state ON message(expire_state);\n"
               "CREATE INDEX chat_idx_group_id ON chat(group_id);\n";
    return sql;
}

QByteArray smsTriggers(IosVersion version)
{
    if (version == IosVersion::Ios5)
        return ios5Triggers();
    if (isModern(version))
        return modernTriggers(version);
    QByteArray sql = commonTriggers;
    if (version == IosVersion::Ios6)
        sql += cleaningTriggersIos6;
    else
        sql += QByteArray(cleanMessagesIos7) + cleanHandlesIos7;
    if (version >= IosVersion::Ios8)
        sql += deletionLogIos8;
    return sql;
}

QByteArray smsMessageColumns(IosVersion version)
{
    return messageColumnsUpTo(version);
}

QByteArray smsChatColumns(IosVersion version)
{
    return chatColumnsUpTo(version);
}

QByteArray smsWatchingTriggers()
{
    return commonTriggers;
}

QByteArray smsMessageCleaning()
{
    return cleanMessagesIos7;
}

QByteArray smsHandleCleaning()
{
    return cleanHandlesIos7;
}

QByteArray smsDeletionLog()
{
    return deletionLogIos8;
}
