#include "store/readers/joinedgroups.h"

#include "sqlite_qt/sqlite3db.h"
#include "store/records/chatstyle.h"
#include "store/records/messagerecords.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace
{

/// Sets of chats that grow together. The lowest rowid stands for a set.
class ChatSets
{
public:
    qint64 first(qint64 chat)
    {
        qint64 root = chat;
        while (parents.value(root, root) != root)
            root = parents.value(root);
        if (root != chat)
            parents.insert(chat, root);
        return root;
    }
    void join(qint64 a, qint64 b)
    {
        const qint64 firstA = first(a);
        const qint64 firstB = first(b);
        parents.insert(std::max(firstA, firstB), std::min(firstA, firstB));
    }

private:
    QHash<qint64, qint64> parents;
};

} // namespace

void joinGroups(Sqlite3DB &db, const _MsgStore &store)
{
    if (db.tbInfo(u"chat_lookup"_s).isEmpty())
        return;
    ChatSets sets;
    QHash<QString, qint64> byName;
    Sqlite3Cursor cursor =
        db.queryThrow(Sqlite3Sql("select identifier, chat from chat_lookup order by identifier, chat"));
    while (cursor.moveNextThrow()) {
        const _MsgChat *chat = store.chats.value(cursor.getInt64(1));
        if (!chat || chat->style != groupStyle || cursor.getText(0).isEmpty())
            continue;
        const QString name = cursor.getText(0);
        sets.join(byName.value(name, chat->rowid), chat->rowid);
        byName.insert(name, chat->rowid);
    }
    for (_MsgChat *chat : store.chats) {
        const _MsgChat *first = store.chats.value(sets.first(chat->rowid));
        if (first && first->chat_identifier != chat->chat_identifier)
            chat->joined_identifier = first->chat_identifier;
    }
}
