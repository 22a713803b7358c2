-- What a Local Database holds beside the shape that phones up to iOS 9 gave it. Its columns are added by
-- the program. All of it begins with an underscore.

-- Reactions stand under their message. Of one sender the newest counts, the older ones stay.
CREATE TABLE IF NOT EXISTS _reaction (
    ROWID INTEGER PRIMARY KEY AUTOINCREMENT,
    message_id INTEGER NOT NULL REFERENCES message (ROWID) ON DELETE CASCADE,
    guid TEXT NOT NULL,
    associated_message_type INTEGER,
    associated_message_emoji TEXT,
    part INTEGER,
    is_from_me INTEGER,
    handle_id INTEGER,
    date INTEGER,
    service TEXT,
    text TEXT,
    payload_data BLOB,
    message_summary_info BLOB,
    UNIQUE (message_id, guid)
);
CREATE INDEX IF NOT EXISTS _reaction_idx_handle ON _reaction(handle_id);

-- Pictures of stickers and the like.
CREATE TABLE IF NOT EXISTS _reaction_attachment_join (
    reaction_id INTEGER NOT NULL REFERENCES _reaction (ROWID) ON DELETE CASCADE,
    attachment_id INTEGER NOT NULL,
    UNIQUE (reaction_id, attachment_id)
);
CREATE INDEX IF NOT EXISTS _reaction_attachment_idx ON _reaction_attachment_join(attachment_id);

-- Texts of parts of a message: kind 1 went to "Recently Deleted" on that date, kind 2 was what the
-- message said until it was edited, where the phone keeps no history that tells it.
CREATE TABLE IF NOT EXISTS _part_text (
    message_id INTEGER NOT NULL REFERENCES message (ROWID) ON DELETE CASCADE,
    kind INTEGER NOT NULL,
    part INTEGER NOT NULL,
    date INTEGER NOT NULL,
    text TEXT,
    UNIQUE (message_id, kind, part, date)
);

CREATE INDEX IF NOT EXISTS _message_idx_delete_date ON message(_delete_date) WHERE _delete_date > 0;
CREATE INDEX IF NOT EXISTS _message_idx_recovered ON message(_is_recovered) WHERE _is_recovered > 0;

-- Who only reacts stands in no chat and sent no message.
CREATE TRIGGER IF NOT EXISTS _keep_reacting_handles BEFORE DELETE ON handle
    WHEN (SELECT 1 from _reaction WHERE handle_id = old.ROWID LIMIT 1) IS NOT NULL
BEGIN
    SELECT RAISE(IGNORE);
END;

CREATE TRIGGER IF NOT EXISTS _clean_reacting_handles AFTER DELETE ON _reaction
BEGIN
    DELETE FROM handle WHERE handle.ROWID = old.handle_id
        AND (SELECT 1 from chat_handle_join WHERE handle_id = old.handle_id LIMIT 1) IS NULL
        AND (SELECT 1 from message WHERE handle_id = old.handle_id LIMIT 1) IS NULL;
END;

-- Columns of a phone's rows that have none here, or that read otherwise there. "columns" is a CBOR map from
-- the number of a name to its value. They go with their row.
CREATE TABLE IF NOT EXISTS _source_column (
    ROWID INTEGER PRIMARY KEY,
    source_table TEXT NOT NULL,
    name TEXT NOT NULL,
    UNIQUE (source_table, name)
);
CREATE TABLE IF NOT EXISTS _message_source (
    ROWID INTEGER PRIMARY KEY REFERENCES message (ROWID) ON DELETE CASCADE,
    columns BLOB NOT NULL
);
CREATE TABLE IF NOT EXISTS _reaction_source (
    ROWID INTEGER PRIMARY KEY REFERENCES _reaction (ROWID) ON DELETE CASCADE,
    columns BLOB NOT NULL
);
CREATE TABLE IF NOT EXISTS _chat_source (
    ROWID INTEGER PRIMARY KEY REFERENCES chat (ROWID) ON DELETE CASCADE,
    columns BLOB NOT NULL
);
CREATE TABLE IF NOT EXISTS _handle_source (
    ROWID INTEGER PRIMARY KEY REFERENCES handle (ROWID) ON DELETE CASCADE,
    columns BLOB NOT NULL
);
