#include "ui/flows/messagedeletion.h"

#include "recovery/local/deletemessages.h"
#include "recovery/local/localdatabases.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/messagestore.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/flows/sourceloader.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

#include <algorithm>

namespace
{

_LocalDBItemNode *asDatabase(_AbsDBItemNode *source)
{
    return source && source->type == LocalDbNode ? static_cast<_LocalDBItemNode *>(source) : nullptr;
}

bool deleteUnderDialog(SourcePane &sources, const _LocalDBItemNode &database, const MessageList &list,
                       QWidget *window)
{
    bool isDone = false;
    sources.use(database, [&](AbsIOSMessageDb &db) {
        ProgressForm form(QString(), window);
        DeleteMessagesThread job(db.asIos6(), &list.messages, &form, nullptr);
        isDone = runUnder(form, job);
    });
    return isDone;
}

bool isEmptied(const AbsTreeItemModel::_ItemNode *node)
{
    const QList<_MsgChat *> &chats = static_cast<const _ChatSessionItemNode *>(node)->session.chats;
    return std::all_of(chats.begin(), chats.end(),
                       [](const _MsgChat *chat) { return chat->messages.isEmpty(); });
}

QSet<_MsgMessage *> asSet(const QList<_MsgMessage *> &messages)
{
    return {messages.begin(), messages.end()};
}

/// Takes conversations without messages out of the tree, and their chats, which the file has lost too, out
/// of the store.
void removeConversations(ItemModelMain &model, const QList<AbsTreeItemModel::_ItemNode *> &nodes,
                         _MsgStore &store)
{
    for (AbsTreeItemModel::_ItemNode *node : nodes) {
        const QList<_MsgChat *> chats = static_cast<_ChatSessionItemNode *>(node)->session.chats;
        model.removeNode(node);
        for (const _MsgChat *chat : chats)
            if (_MsgChat *removed = store.chats.take(chat->rowid))
                store.removedChats.append(removed);
    }
}

/// Takes messages that the file has lost out of store and tree.
void forgetInTree(SourcePane &sources, const MessageList &gone)
{
    _AbsDBItemNode *source = sources.sourceOf(gone.store);
    if (!source) // shown no more
        return;
    QList<AbsTreeItemModel::_ItemNode *> emptied;
    for (AbsTreeItemModel::_ItemNode *node : std::as_const(source->children))
        if (!isEmptied(node))
            emptied.append(node);
    forgetMessages(*gone.store, asSet(gone.messages));
    emptied.removeIf([](const AbsTreeItemModel::_ItemNode *node) { return !isEmptied(node); });
    removeConversations(sources.model(), emptied, *gone.store);
}

/// Chats without messages, which no message takes along when it goes.
void deleteEmptyConversation(SourcePane &sources, const _LocalDBItemNode &database,
                             _ChatSessionItemNode *conversation, QWidget *window)
{
    QStringList identifiers;
    for (const _MsgChat *chat : std::as_const(conversation->session.chats))
        identifiers.append(chat->chat_identifier);
    if (identifiers.isEmpty())
        return;
    sources.use(database, [&](AbsIOSMessageDb &db) {
        ProgressForm unseen(QString(), window);
        deleteConversations(*db.asIos6(), identifiers, unseen);
    });
    removeConversations(sources.model(), {conversation}, *conversation->store);
}

} // namespace

void deleteSelectedMessages(SourcePane &sources, MessagePane &messages, QWidget *window)
{
    const MessageList selected = messages.selectedMessages();
    const QString title = messages.title();
    const _LocalDBItemNode *database = asDatabase(sources.sourceOf(selected.store));
    if (!database || !askYesNo(QObject::tr("IDS_CONFIRM_DEL_SEL_MESSAGES")))
        return;
    if (!deleteUnderDialog(sources, *database, selected, window))
        return;
    if (messages.onView().store == selected.store) {
        MessageList left = messages.onView();
        left.messages.removeIf(
            [gone = asSet(selected.messages)](_MsgMessage *message) { return gone.contains(message); });
        messages.showMessages(left, title);
    }
    forgetInTree(sources, selected);
}

void deleteConversation(SourcePane &sources, MessagePane &messages, QWidget *window)
{
    _ChatSessionItemNode *conversation = sources.currentConversation();
    const _LocalDBItemNode *database =
        conversation ? asDatabase(sources.sourceOf(conversation->store)) : nullptr;
    if (!database)
        return;
    const MessageList all{sessionMessages(conversation->session.chats), conversation->store};
    if (!askYesNo(QObject::tr("IDS_CONFIRM_DEL_THIS_CHAT")))
        return;
    if (all.messages.isEmpty())
        return deleteEmptyConversation(sources, *database, conversation, window);
    if (!deleteUnderDialog(sources, *database, all, window))
        return;
    if (messages.onView().store == all.store)
        messages.clearMessageViews();
    forgetInTree(sources, all);
}

void deleteDatabase(SourcePane &sources)
{
    _LocalDBItemNode *database = asDatabase(sources.currentSource());
    if (!database || !askYesNo(QObject::tr("IDS_CONFIRM_DEL_THIS_LOCALDB")))
        return;
    const QString name = database->text;
    sources.use(*database, [&](AbsIOSMessageDb &db) {
        db.close();
        if (const std::optional<LocalDatabase> folder = findLocalDatabase(name))
            deleteLocalDatabase(*folder);
    });
    sources.model().removeNode(database);
    showInfo(QObject::tr("IDS_DEL_LOCALDB_SUC").arg(name.toHtmlEscaped()));
}
