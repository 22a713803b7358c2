-- What keeps the attachments of reactions, for a Local Database that has a table of attachments.

-- The message as which a reaction came in goes when its own message comes. What hung on it stays.
CREATE TRIGGER IF NOT EXISTS _keep_reaction_attachments BEFORE DELETE ON attachment
    WHEN (SELECT 1 from _reaction_attachment_join WHERE attachment_id = old.ROWID LIMIT 1) IS NOT NULL
BEGIN
    SELECT RAISE(IGNORE);
END;

CREATE TRIGGER IF NOT EXISTS _clean_reaction_attachments AFTER DELETE ON _reaction_attachment_join
BEGIN
    DELETE FROM attachment WHERE attachment.ROWID = old.attachment_id
        AND (SELECT 1 from message_attachment_join WHERE attachment_id = old.attachment_id LIMIT 1) IS NULL;
END;

CREATE TABLE IF NOT EXISTS _attachment_source (
    ROWID INTEGER PRIMARY KEY REFERENCES attachment (ROWID) ON DELETE CASCADE,
    columns BLOB NOT NULL
);
