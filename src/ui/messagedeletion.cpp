#include "messagedeletion.h"

#include "boxes.h"
#include "deletemessagesthread.h"
#include "ios6messagedb.h"
#include "jobrunner.h"
#include "localdatabases.h"
#include "messagepane.h"
#include "messagestore.h"
#include "progressform.h"
#include "sourceloader.h"
#include "sourcepane.h"

#include <QPersistentModelIndex>

#include <algorithm>

namespace
{

/// The Local Database selected or around the conversation selected; null for anything else.
_LocalDBItemNode *currentDatabase(const SourcePane &sources)
{
    _AbsDBItemNode *source = sources.currentSource();
    return source && source->type == LocalDbNode ? static_cast<_LocalDBItemNode *>(source) : nullptr;
}

bool deleteUnderDialog(AbsMessageDb &source, const QList<_MsgMessage *> &messages, QWidget *window)
{
    ProgressForm form(QString(), window);
    DeleteMessagesThread job(&dynamic_cast<IOS6MessageDb &>(source), &messages, &form, nullptr);
    return runUnder(form, job);
}

bool isEmptied(const AbsTreeItemModel::_ItemNode *node)
{
    const QList<_MsgChat *> &chats = static_cast<const _ChatSessionItemNode *>(node)->session.chats;
    return std::all_of(chats.begin(), chats.end(),
                       [](const _MsgChat *chat) { return chat->messages.isEmpty(); });
}

/// Takes conversations without messages out of the tree, and their chats, which the file has lost too, out
/// of the store.
void removeConversations(ItemModelMain &model, const QList<AbsTreeItemModel::_ItemNode *> &nodes,
                         _MsgStore &store)
{
    for (AbsTreeItemModel::_ItemNode *node : nodes) {
        const QList<_MsgChat *> chats = static_cast<_ChatSessionItemNode *>(node)->session.chats;
        model.removeNode(node);
        for (_MsgChat *chat : chats)
            delete store.chats.take(chat->rowid);
    }
}

/// Brings the tree up to what was deleted.
void forgetInTree(SourcePane &sources, _AbsDBItemNode *source, const QSet<_MsgMessage *> &gone)
{
    QList<AbsTreeItemModel::_ItemNode *> emptied;
    for (AbsTreeItemModel::_ItemNode *node : std::as_const(source->children))
        if (!isEmptied(node))
            emptied.append(node);
    forgetMessages(*source->store, gone);
    emptied.removeIf([](const AbsTreeItemModel::_ItemNode *node) { return !isEmptied(node); });
    removeConversations(sources.model(), emptied, *source->store);
}

/// Chats without messages, which no message takes along when it goes.
void deleteEmptyConversation(SourcePane &sources, _AbsDBItemNode *source, _ChatSessionItemNode *node,
                             QWidget *window)
{
    if (node->session.chats.isEmpty())
        return;
    QStringList identifiers;
    for (const _MsgChat *chat : std::as_const(node->session.chats))
        identifiers.append(chat->chat_identifier);
    ProgressForm unseen(QString(), window);
    deleteConversations(dynamic_cast<IOS6MessageDb &>(*source->db), identifiers, unseen);
    removeConversations(sources.model(), {node}, *source->store);
}

QSet<_MsgMessage *> asSet(const QList<_MsgMessage *> &messages)
{
    return {messages.begin(), messages.end()};
}

} // namespace

void deleteSelectedMessages(SourcePane &sources, MessagePane &messages, QWidget *window)
{
    _LocalDBItemNode *database = currentDatabase(sources);
    if (!database || !askYesNo(QObject::tr("IDS_CONFIRM_DEL_SEL_MESSAGES")))
        return;
    const QList<_MsgMessage *> selected = messages.selectedMessages();
    if (!deleteUnderDialog(*database->db, selected, window))
        return;
    const QSet<_MsgMessage *> gone = asSet(selected);
    QList<_MsgMessage *> left = messages.messages();
    left.removeIf([&](_MsgMessage *message) { return gone.contains(message); });
    messages.showMessages(left, messages.store(), messages.title());
    forgetInTree(sources, database, gone);
}

void deleteConversation(SourcePane &sources, MessagePane &messages, QWidget *window)
{
    _LocalDBItemNode *database = currentDatabase(sources);
    _ChatSessionItemNode *conversation = sources.currentConversation();
    if (!database || !conversation || !askYesNo(QObject::tr("IDS_CONFIRM_DEL_THIS_CHAT")))
        return;
    const QList<_MsgMessage *> all = sessionMessages(conversation->session.chats);
    if (all.isEmpty())
        return deleteEmptyConversation(sources, database, conversation, window);
    if (!deleteUnderDialog(*database->db, all, window))
        return;
    messages.clearMessageViews();
    forgetInTree(sources, database, asSet(all));
}

void deleteDatabase(SourcePane &sources)
{
    _LocalDBItemNode *database = currentDatabase(sources);
    if (!database || !askYesNo(QObject::tr("IDS_CONFIRM_DEL_THIS_LOCALDB")))
        return;
    const QString name = database->text;
    database->db->close();
    if (const std::optional<LocalDatabase> folder = findLocalDatabase(name))
        deleteLocalDatabase(*folder);
    sources.model().removeNode(database);
    showInfo(QObject::tr("IDS_DEL_LOCALDB_SUC").arg(name.toHtmlEscaped()));
}
