#include "ui/views/sourcepane.h"

#include "ui/dialogs/boxes.h"
#include "ui/flows/sourceloader.h"
#include "ui/views/mytreeview.h"
#include "ui/views/searchrow.h"
#include "ui/views/wrappingsearch.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QScopeGuard>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;
using Node = AbsTreeItemModel::_ItemNode;

namespace
{

bool isSource(const Node *node)
{
    return node && (node->type == IosDeviceNode || node->type == LocalDbNode);
}

bool isConversation(const Node *node)
{
    return node && node->type == ChatSessionNode;
}

bool hasChat(const Node *node, const QString &chatIdentifier)
{
    const QList<_MsgChat *> &chats = static_cast<const _ChatSessionItemNode *>(node)->session.chats;
    return std::any_of(chats.begin(), chats.end(), [&](const _MsgChat *chat) {
        return chat->chat_identifier.compare(chatIdentifier, Qt::CaseInsensitive) == 0;
    });
}

} // namespace

SourcePane::SourcePane(QWidget *parent)
    : QWidget(parent)
    , mainModel(new ItemModelMain(this))
    , txtHandleKeyword(new QLineEdit(this))
    , treeViewDS(new MyTreeView(this))
{
    setObjectName(u"widget_5"_s);
    build();
    treeViewDS->setModel(mainModel);
    treeViewDS->expandAll();
    connect(treeViewDS, &MyTreeView::onSelectionChanged, this, &SourcePane::selectionChanged);
    connect(treeViewDS, &MyTreeView::createContextMenu, this, &SourcePane::contextMenuWanted);
}

void SourcePane::build()
{
    txtHandleKeyword->setObjectName(u"txtHandleKeyword"_s);
    txtHandleKeyword->setPlaceholderText(u"Find a contact"_s);
    treeViewDS->setObjectName(u"treeViewDS"_s);
    treeViewDS->setAccessibleName(u"Sources and conversations"_s);
    treeViewDS->setHeaderHidden(true);
    treeViewDS->setSelectionMode(QAbstractItemView::SingleSelection);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 4, 8);
    layout->addLayout(searchRow(txtHandleKeyword, u"btnSearchHandle"_s, u"Find the next contact"_s, this,
                                [this] { searchCotnact(); }));
    layout->addWidget(treeViewDS);
}

Node *SourcePane::currentNode() const
{
    return AbsTreeItemModel::nodeOf(treeViewDS->selectionModel()->selectedIndexes().value(0));
}

_AbsDBItemNode *SourcePane::currentSource() const
{
    Node *node = currentNode();
    if (isConversation(node))
        node = node->parent;
    return isSource(node) ? static_cast<_AbsDBItemNode *>(node) : nullptr;
}

_ChatSessionItemNode *SourcePane::currentConversation() const
{
    Node *node = currentNode();
    return isConversation(node) ? static_cast<_ChatSessionItemNode *>(node) : nullptr;
}

_LocalDBItemNode *SourcePane::localDatabase(const QString &name) const
{
    for (Node *node : std::as_const(mainModel->rootLocalDb->children))
        if (node->text.compare(name, Qt::CaseInsensitive) == 0)
            return static_cast<_LocalDBItemNode *>(node);
    return nullptr;
}

QStringList SourcePane::localDatabaseNames() const
{
    QStringList names;
    for (const Node *node : std::as_const(mainModel->rootLocalDb->children))
        names.append(node->text);
    return names;
}

bool SourcePane::hasDevice() const
{
    return !mainModel->rootDevice->children.isEmpty();
}

_IOSDeviceItemNode *SourcePane::device(const void *handle) const
{
    for (Node *node : std::as_const(mainModel->rootDevice->children))
        if (static_cast<_IOSDeviceItemNode *>(node)->device.device == handle)
            return static_cast<_IOSDeviceItemNode *>(node);
    return nullptr;
}

_AbsDBItemNode *SourcePane::sourceOf(const _MsgStorePtr &store) const
{
    for (const QList<Node *> &nodes : {mainModel->rootDevice->children, mainModel->rootLocalDb->children})
        for (Node *node : nodes)
            if (static_cast<_AbsDBItemNode *>(node)->store == store)
                return static_cast<_AbsDBItemNode *>(node);
    return nullptr;
}

void SourcePane::use(const _AbsDBItemNode &source, const std::function<void(AbsIOSMessageDb &db)> &work)
{
    const QSharedPointer<AbsIOSMessageDb> db = source.db; // the node may go meanwhile
    if (inUse.contains(db.data()))
        throw std::runtime_error(QObject::tr("IDS_SOURCE_%1_IN_USE").arg(source.text).toStdString());
    inUse.insert(db.data());
    const auto end = qScopeGuard([this, used = db.data()] {
        inUse.remove(used);
        if (!isBusy())
            Q_EMIT becameIdle();
    });
    work(*db);
}

bool SourcePane::load(_AbsDBItemNode *source)
{
    if (isLoaded(*source))
        return true;
    const QPersistentModelIndex place(mainModel->indexOf(source));
    const Recovered recovered = source->type == IosDeviceNode ? Recovered::Shown : Recovered::LeftOut;
    _MsgStorePtr store;
    use(*source, [&](AbsIOSMessageDb &db) { store = readUnderDialog(db, window(), recovered); });
    if (!place.isValid())
        return false;
    if (store->messages.isEmpty() && store->chats.isEmpty() && source->store->chats.isEmpty())
        return true; // still empty: what is on view stays this source's
    source->store = store;
    mainModel->loadSessions(source);
    QTimer::singleShot(0, treeViewDS, [this, place] { treeViewDS->expand(place); });
    return true;
}

void SourcePane::unload(_AbsDBItemNode *source)
{
    source->store = _MsgStorePtr::create();
    mainModel->removeChildren(source);
}

void SourcePane::select(const Node *node)
{
    const QModelIndex index = mainModel->indexOf(node);
    treeViewDS->expand(index.parent());
    treeViewDS->setCurrentIndex(index);
}

void SourcePane::setJoinsPersons(bool joins)
{
    const _AbsDBItemNode *source = currentSource();
    const _ChatSessionItemNode *current = currentConversation();
    const QList<_MsgChat *> chats = current ? current->session.chats : QList<_MsgChat *>();
    mainModel->setJoinsPersons(joins);
    if (!chats.isEmpty())
        selectConversation(source, chats.first()->chat_identifier);
}

void SourcePane::selectConversation(const _AbsDBItemNode *source, const QString &chatIdentifier)
{
    for (const Node *node : source->children)
        if (hasChat(node, chatIdentifier))
            return select(node);
}

void SourcePane::searchCotnact()
{
    const QString words = txtHandleKeyword->text().trimmed();
    const _AbsDBItemNode *source = currentSource();
    if (!source || words.isEmpty())
        return;
    const _ChatSessionItemNode *current = currentConversation();
    const QList<Node *> &nodes = source->children;
    const std::optional<int> found =
        searchWrapping(int(nodes.size()), current ? current->row + 1 : 0,
                       [&](int row) { return nodes.at(row)->text.contains(words, Qt::CaseInsensitive); });
    if (found)
        select(nodes.at(*found));
    else
        showInfo(QObject::tr("IDS_CAN_NOT_FOUNDCONTACT_KEYWORD_%0").arg(words.toHtmlEscaped()));
}
