#include "recovery/local/bulkdeletion.h"

#include "sqlite_qt/sqlite3db.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct HelpIndex {
    const char *create;
    const char *drop;
};

constexpr std::array helpIndexes = {
    HelpIndex{"create index deletion_idx_handle on chat_handle_join(handle_id)",
              "drop index deletion_idx_handle"},
    HelpIndex{"create index deletion_idx_attachment on message_attachment_join(attachment_id)",
              "drop index deletion_idx_attachment"},
};

QString triggerText(Sqlite3DB &db)
{
    Sqlite3Cursor cursor = db.queryThrow(
        Sqlite3Sql("select sql from sqlite_master where type='trigger' and name='clean_orphaned_messages'"));
    return cursor.moveNextThrow() ? cursor.getText(0) : QString();
}

} // namespace

BulkDeletion::BulkDeletion(Sqlite3DB &database) : db(database), trigger(triggerText(database))
{
    if (!trigger.isEmpty())
        db.executeThrow(Sqlite3Sql("drop trigger clean_orphaned_messages"));
    for (const HelpIndex &index : helpIndexes)
        db.executeThrow(Sqlite3Sql(index.create));
}

void BulkDeletion::finish()
{
    if (!trigger.isEmpty()) {
        db.executeThrow(Sqlite3Sql("delete from message where (select 1 from chat_message_join where "
                                   "message_id = message.rowid limit 1) is null"));
        db.executeThrow(Sqlite3Sql(trigger));
    }
    for (const HelpIndex &index : helpIndexes)
        db.executeThrow(Sqlite3Sql(index.drop));
}
