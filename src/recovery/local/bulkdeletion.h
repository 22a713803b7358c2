#pragma once

#include <QString>
#include <QStringList>

class Sqlite3DB;

/// Makes deleting many messages cheap, inside one open transaction.
///
/// A Local Database's own triggers look through all messages for each message that leaves a chat, and
/// through all joins for each orphan. While this lives, the trigger that cleans orphaned messages is
/// away and the joins have indexes of their own; `finish` cleans once and puts the schema back. Without
/// `finish`, roll the transaction back: that restores the schema too.
class BulkDeletion
{
public:
    /// Throws `std::runtime_error`, as `finish` does.
    explicit BulkDeletion(Sqlite3DB &database);

    /// Deletes the messages that no chat holds any more, as the trigger would have.
    void finish();

private:
    Sqlite3DB &db;
    QString trigger; ///< text that makes it; empty where the file has none
};
