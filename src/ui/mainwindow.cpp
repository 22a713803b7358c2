#include "ui/mainwindow.h"

#include "app/datalocations.h"
#include "app/fileopener.h"
#include "app/product.h"
#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "device/backuptempdir.h"
#include "device/devicewatch.h"
#include "device/mobiledevice.h"
#include "sources/phones.h"
#include "store/records/messagestore.h"
#include "ui/dialogs/aboutusform.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/missingattachmentsdlg.h"
#include "ui/flows/devicearrival.h"
#include "ui/flows/leftbackup.h"
#include "ui/flows/messagedeletion.h"
#include "ui/flows/messagerecovery.h"
#include "ui/flows/phonearrivals.h"
#include "ui/flows/shownsource.h"
#include "ui/flows/sourceloader.h"
#include "ui/flows/viewswitches.h"
#include "ui/views/messagepane.h"
#include "ui/views/programicon.h"
#include "ui/views/sourcepane.h"
#include "ui/views/stylesheet.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

constexpr QSize preferredSize(1120, 700);

/// The one folder of a drag that is an iTunes backup; empty for anything else.
QString droppedBackup(const QMimeData &data)
{
    const QList<QUrl> urls = data.urls();
    if (urls.size() != 1 || !urls.first().isLocalFile())
        return {};
    const QDir folder(urls.first().toLocalFile());
    return isBackupFolder(folder) ? folder.absolutePath() : QString();
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , sources(new SourcePane(this))
    , messages(new MessagePane(this))
    , workers(new MessageWorkers(sources, messages, this))
    , menus(new WindowMenus(this))
    , views(new ViewSwitches(menus->viewMenu(), sources, messages))
    , phones(new PhoneArrivals([this](void *p) { readArrived(p); }, this))
    , advLabel(new QLabel(this))
{
    build();
    connect(sources, &SourcePane::selectionChanged, this, &MainWindow::onMainTreeSelected);
    connect(sources, &SourcePane::contextMenuWanted, this, &MainWindow::onMainTreeContextMenu);
    connect(messages, &MessagePane::contextMenuWanted, this, &MainWindow::onSMSContextMenu);
    // Later: reading what is shown may open a dialog, for which menu and tree have to be done with the click.
    selectionTimer.setSingleShot(true);
    connect(&selectionTimer, &QTimer::timeout, this, &MainWindow::showSelected);
    connect(views, &ViewSwitches::contentChanged, this, [this] { selectionTimer.start(); });
    connect(sources, &SourcePane::becameIdle, this, [this] {
        if (selectionWaits)
            selectionTimer.start();
    });
    fillStatusBar();
    runFlow([this] { fillSourceTree(sources->model()); });
    runFlow([this] { watchPhones(); });
}

MainWindow::~MainWindow()
{
    if (phoneWatch)
        mobiledevice_forget(phoneWatch);
}

void MainWindow::watchPhones()
{
    if (!mobiledevice_is_loaded())
        return;
    phoneWatch = new DeviceWatchTarget{this, "iosDeviceConnected", "iosDeviceDisconnected",
                                       "iosDevicePaired"}; // stays
    mobiledevice_subscribe(phoneWatch);
}

void MainWindow::build()
{
    setWindowTitle(productName());
    setWindowIcon(programIcon(u":main"_s));
    setStyleSheet(loadStyleSheet());
    setAcceptDrops(true);
    auto *splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setObjectName(u"splitter"_s);
    splitter->addWidget(sources);
    splitter->addWidget(messages);
    splitter->setSizes({290, 830});
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    setCentralWidget(new QWidget(this));
    auto *column = new QVBoxLayout(centralWidget());
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(splitter, 1);
    resize(preferredSize.boundedTo(screen()->availableSize() * 0.92));
}

void MainWindow::showOnTop(QWidget *widget)
{
    static_cast<QVBoxLayout *>(centralWidget()->layout())->insertWidget(0, widget);
}

void MainWindow::importFolder(const QString &folder)
{
    QTimer::singleShot(0, this, [this, folder] { runReading([&] { workers->importBackup(folder, {}); }); });
}

void MainWindow::fillStatusBar()
{
    advLabel->setObjectName(u"advLabel"_s);
    advLabel->setOpenExternalLinks(true);
    statusBar()->setObjectName(u"statusBar"_s);
    statusBar()->setStyleSheet(u"QStatusBar::item{border: 0px}"_s);
    statusBar()->addWidget(advLabel);
    QFile lastText(dataRoot().filePath(u"last-adv"_s));
    if (lastText.open(QIODevice::ReadOnly))
        advLabel->setText(QString::fromUtf8(lastText.readAll()));
}

void MainWindow::runFlow(const std::function<void()> &flow)
{
    ++flowsRunning;
    try {
        flow();
    } catch (const std::exception &error) {
        const QString text = QString::fromUtf8(error.what());
        qWarning().noquote() << text;
        showError(text);
    }
    --flowsRunning;
    if (flowsRunning == 0 && closeWanted)
        QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

void MainWindow::runReading(const std::function<void()> &flow)
{
    runFlow([&] {
        flow();
        views->tellMissing();
    });
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    closeWanted = flowsRunning > 0;
    event->setAccepted(!closeWanted);
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (!droppedBackup(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    const QString folder = droppedBackup(*event->mimeData());
    event->acceptProposedAction();
    // The program that the folder comes from waits until the drop is over.
    importFolder(folder);
}

void MainWindow::iosDeviceConnected(void *p)
{
    runFlow([&] { phones->arrived(p); });
}

void MainWindow::iosDevicePaired(void *p)
{
    if (!sources->device(p))
        phones->trusted(p);
}

void MainWindow::readArrived(void *p)
{
    runFlow([&] {
        const std::optional<ReadPhone> phone = readPhone(p, this);
        if (phone && !phones->isHere(p)) // else it would stand in the tree for good
            throw std::runtime_error(phoneGoneText);
        if (phone)
            showPhone(*phone);
        if (phone && phone->backupBytes > 0)
            tellOfLeftBackup(*this, phone->device, backupFolderOf(phone->device), phone->backupBytes);
    });
    menus->follow(state());
}

void MainWindow::showPhone(const ReadPhone &phone)
{
    _IOSDeviceItemNode *node = sources->model().addDevice(phone.db, phone.device);
    try {
        if (sources->load(node))
            sources->select(node);
    } catch (...) {
        iosDeviceDisconnected(phone.device.device); // the node itself may be gone by now
        throw;
    }
}

void MainWindow::iosDeviceDisconnected(void *p)
{
    phones->gone(p);
    if (_IOSDeviceItemNode *phone = sources->device(p))
        sources->model().removeNode(phone);
    menus->follow(state());
}

SourceState MainWindow::state() const
{
    using Kind = SourceState::Kind;
    SourceState state;
    state.hasDevice = sources->hasDevice();
    state.isConversation = sources->currentConversation() != nullptr;
    if (const _AbsDBItemNode *source = sources->currentSource())
        state.kind = source->type == LocalDbNode ? Kind::LocalDb : Kind::Device;
    else if (sources->currentNode() && sources->currentNode()->type == RootLocalDbNode)
        state.kind = Kind::LocalDbRoot;
    return state;
}

void MainWindow::onMainTreeSelected(const QItemSelection &, const QItemSelection &)
{
    menus->follow(state());
    messages->clearMessageViews(); // what fails to be read must not leave another source's messages
    runFlow([this] {
        const _AbsDBItemNode *source = sources->currentSource();
        if (source && !isLoaded(*source) && isLarge(*source->db))
            selectionTimer.start();
        else
            showSelected();
    });
}

void MainWindow::showSelected()
{
    selectionTimer.stop();
    selectionWaits = sources->isBusy();
    if (selectionWaits)
        return;
    runFlow([this] {
        messages->clearMessageViews();
        if (_ChatSessionItemNode *conversation = sources->currentConversation())
            showConversation(conversation);
        else if (_AbsDBItemNode *source = sources->currentSource())
            showSource(source);
        views->tellMissing();
    });
}

void MainWindow::showSource(_AbsDBItemNode *source)
{
    // Something else may be selected when it is read.
    if (sources->load(source) && sources->currentNode() == source)
        messages->showMessages({allMessages(source->store), source->store}, source->text);
}

void MainWindow::showConversation(_ChatSessionItemNode *conversation)
{
    auto *source = static_cast<_AbsDBItemNode *>(conversation->parent);
    const QList<_MsgChat *> chats = conversation->session.chats;
    if (isLoaded(*source) || chats.isEmpty())
        return messages->showMessages({sessionMessages(chats), source->store}, conversation->text);
    const QString identifier = chats.first()->chat_identifier;
    // Reading makes the conversations anew, so that none is selected then; but for a source that has no
    // messages at all, which stays as it is, and so does its tree.
    if (sources->load(source) && isLoaded(*source) && !sources->currentNode())
        sources->selectConversation(source, identifier);
}

void MainWindow::popUp(void (WindowMenus::*fill)(QMenu &, const SourceState &) const)
{
    QMenu menu(this);
    (menus->*fill)(menu, state());
    if (!menu.isEmpty())
        menu.exec(QCursor::pos());
}

void MainWindow::onMainTreeContextMenu()
{
    popUp(&WindowMenus::fillTreeMenu);
}

void MainWindow::onSMSContextMenu()
{
    popUp(&WindowMenus::fillListMenu);
}

void MainWindow::work(Worker worker, Scope scope)
{
    runReading([&] {
        const MessageChoice choice = chooseMessages(scope, *sources, *messages);
        if (choice.store)
            std::invoke(worker, workers, choice);
    });
}

void MainWindow::miDel()
{
    if (messages->hasSelection())
        miDelSel();
    else if (sources->currentConversation())
        miDelChat();
    else
        // Whoever doesn't see the messages of a database may mean something else than all of it.
        runFlow([this] {
            if (&shownSource(*sources, *messages) == sources->currentSource())
                deleteDatabase(*sources);
        });
}

void MainWindow::miDelSel()
{
    runFlow([this] { deleteSelectedMessages(*sources, *messages, this); });
}

void MainWindow::miDelChat()
{
    runFlow([this] { deleteConversation(*sources, *messages, this); });
}

void MainWindow::miDelAll()
{
    runFlow([this] { deleteDatabase(*sources); });
}

void MainWindow::miImportItunes()
{
    runReading([this] { workers->importBackup({}, {}); });
}

void MainWindow::miImportToLocalDb()
{
    const _AbsDBItemNode *source = sources->currentSource();
    const QString name = source ? source->text : QString();
    runReading([&] { workers->importBackup({}, name); });
}

void MainWindow::miRecover()
{
    runReading([this] { recoverDeletedMessages(*sources, *messages, this); });
}

void MainWindow::miViewCache()
{
    const _AbsDBItemNode *source = sources->currentSource();
    if (source && source->type == IosDeviceNode)
        runFlow([&] {
            openInExplorer(rootOf(static_cast<const _IOSDeviceItemNode *>(source)->device).absolutePath());
        });
}

void MainWindow::miOpenDbFolder()
{
    openInExplorer(localDatabasesDir().absolutePath());
}

void MainWindow::miCheckUpdate()
{
    const QString site = websiteAddress().toHtmlEscaped();
    runFlow([&] { showInfo(QObject::tr("IDS_NO_UPDATE_CHECK_%1_%2").arg(versionText(), site)); });
}

void MainWindow::openPage(const QString &page)
{
    QDesktopServices::openUrl(QUrl(websiteAddress() + page));
}

void MainWindow::miHelp()
{
    openPage(u"help"_s);
}

void MainWindow::miFeedback()
{
    openPage(u"support"_s);
}

void MainWindow::miHome()
{
    openPage({});
}

void MainWindow::miAbout()
{
    runFlow([this] { AboutUsForm(this).exec(); });
}

void MainWindow::miClearCache()
{
    runFlow([] {
        emptyCaches(QDir(dataRoot().filePath(u"ios_cache"_s)));
        emptyCaches(QDir(dataRoot().filePath(u"itunes_cache"_s)));
        clearIosBackupTemp();
        showInfo(QObject::tr("IDS_SUC_CLEAR_CACHE"));
    });
}

void MainWindow::miUnmoutDevice()
{
    _AbsDBItemNode *source = sources->currentSource();
    if (source && source->type == IosDeviceNode)
        sources->model().removeNode(source);
    menus->follow(state());
}

void MainWindow::miMissingAttachments()
{
    runFlow([this] {
        const MessageChoice choice = chooseMessages(Scope::Source, *sources, *messages);
        MissingAttachmentsDlg(listAttachments(choice.messages), this).exec();
    });
}

void MainWindow::findMessages()
{
    messages->focusSearch();
}
