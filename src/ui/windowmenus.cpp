#include "ui/windowmenus.h"

#include "ui/mainwindow.h"
#include "ui/views/programicon.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

using namespace Qt::StringLiterals;

using Slot = void (MainWindow::*)();

/// One entry of a menu.
struct MenuEntry {
    QString text;
    QString icon; ///< of the resource without folder and suffix; empty for none
    Slot slot;
    bool needsDevice = false; ///< enabled only while there is a phone
};

namespace
{

using Entries = QList<MenuEntry>;

Entries rootEntries()
{
    return {{u"Open Database Folder"_s, u"open_db_folder"_s, &MainWindow::miOpenDbFolder},
            {u"Import SMS from iTunes Backup to Local Database"_s, u"import_itunes"_s,
             &MainWindow::miImportItunes}};
}

Entries deviceEntries()
{
    return {{u"Backup SMS to Local Database"_s, u"backup"_s, &MainWindow::miBackupAll},
            {u"Export SMS to File"_s, u"export"_s, &MainWindow::miExportAll},
            {u"Print SMS"_s, u"print"_s, &MainWindow::miPrintAll},
            {u"Recover Deleted SMS"_s, {}, &MainWindow::miRecover},
            {u"View Cache Files"_s, {}, &MainWindow::miViewCache},
            {u"Disconnect Device"_s, u"unmount"_s, &MainWindow::miUnmoutDevice}};
}

Entries databaseEntries()
{
    return {{u"Import SMS from iTunes Backup to this Local Database"_s, u"import_itunes"_s,
             &MainWindow::miImportToLocalDb},
            {u"Export SMS to iTunes Backup"_s, {}, &MainWindow::miExport2iTunesAll},
            {u"Transfer SMS from Database to iPhone"_s, u"db2i"_s, &MainWindow::miDb2IAll, true},
            {u"Export SMS to File"_s, u"export"_s, &MainWindow::miExportAll},
            {u"Print SMS"_s, u"print"_s, &MainWindow::miPrintAll},
            {u"Delete this Database"_s, u"delete"_s, &MainWindow::miDelAll}};
}

Entries deviceChatEntries()
{
    return {{u"Backup SMS with this contact to Local Database"_s, u"backup"_s, &MainWindow::miBackupChat},
            {u"Export SMS with this contact to File"_s, u"export"_s, &MainWindow::miExportChat},
            {u"Print SMS with this contact"_s, u"print"_s, &MainWindow::miPrintChat}};
}

Entries databaseChatEntries()
{
    return {{u"Export SMS with this contact to iTunes Backup"_s, {}, &MainWindow::miExport2iTunesChat},
            {u"Transfer SMS with this contact to iPhone"_s, u"db2i"_s, &MainWindow::miDb2IChat, true},
            {u"Export SMS with this contact to File"_s, u"export"_s, &MainWindow::miExportChat},
            {u"Print SMS with this contact"_s, u"print"_s, &MainWindow::miPrintChat},
            {u"Delete SMS with this contact"_s, u"delete"_s, &MainWindow::miDelChat}};
}

Entries deviceListEntries()
{
    return {{u"Backup Selected SMS to Local Database"_s, u"backup"_s, &MainWindow::miBackupSel},
            {u"Export Selected SMS to File"_s, u"export"_s, &MainWindow::miExportSel},
            {u"Print Selected SMS"_s, u"print"_s, &MainWindow::miPrintSel}};
}

Entries databaseListEntries()
{
    return {{u"Export Selected SMS to iTunes Backup"_s, {}, &MainWindow::miExport2iTunesSel},
            {u"Transfer Selected SMS to iPhone"_s, u"db2i"_s, &MainWindow::miDb2ISel, true},
            {u"Export Selected SMS to File"_s, u"export"_s, &MainWindow::miExportSel},
            {u"Print Selected SMS"_s, u"print"_s, &MainWindow::miPrintSel},
            {u"Delete Selected SMS"_s, u"delete"_s, &MainWindow::miDelSel}};
}

Entries treeEntries(const SourceState &state)
{
    switch (state.kind) {
    case SourceState::Kind::LocalDbRoot: return rootEntries();
    case SourceState::Kind::Device: return state.isConversation ? deviceChatEntries() : deviceEntries();
    case SourceState::Kind::LocalDb: return state.isConversation ? databaseChatEntries() : databaseEntries();
    case SourceState::Kind::None: break;
    }
    return {};
}

Entries listEntries(const SourceState &state)
{
    switch (state.kind) {
    case SourceState::Kind::Device: return deviceListEntries();
    case SourceState::Kind::LocalDb: return databaseListEntries();
    default: return {};
    }
}

/// What the toolbar says below the icon, the object name and the keys.
void dress(QAction *action, const QString &name, const QString &shortText, const QKeySequence &keys = {})
{
    action->setObjectName(name);
    action->setIconText(shortText);
    action->setShortcut(keys);
    const QString tip = action->text().remove(u'&');
    action->setToolTip(keys.isEmpty() ? tip : u"%1 (%2)"_s.arg(tip, keys.toString(QKeySequence::NativeText)));
}

} // namespace

WindowMenus::WindowMenus(MainWindow *mainWindow) : QObject(mainWindow), window(mainWindow)
{
    window->menuBar()->setObjectName(u"menuBar"_s);
    buildFileMenu();
    view = window->menuBar()->addMenu(u"&View"_s);
    buildToolsMenu();
    buildHelpMenu();
    addFind();
    follow({});
}

QAction *WindowMenus::addTo(QMenu *menu, const MenuEntry &entry) const
{
    QAction *action = menu->addAction(entry.text);
    if (!entry.icon.isEmpty())
        action->setIcon(programIcon(u":res/%1.png"_s.arg(entry.icon)));
    // Queued: a dialog has to open after the menu is closed. What was asked for twice, as a key held down
    // does, comes when that dialog is up: it would act on what the first is about to take away.
    const auto run = [target = window, slot = entry.slot] {
        if (!QApplication::activeModalWidget())
            (target->*slot)();
    };
    connect(action, &QAction::triggered, window, run, Qt::QueuedConnection);
    return action;
}

void WindowMenus::addAll(QMenu &menu, const QList<MenuEntry> &entries, const SourceState &state) const
{
    for (const MenuEntry &entry : entries)
        addTo(&menu, entry)->setEnabled(!entry.needsDevice || state.hasDevice);
}

void WindowMenus::buildFileMenu()
{
    QMenu *menu = window->menuBar()->addMenu(u"&File"_s);
    actBackup = addTo(menu, {u"&Backup SMS to Local Database"_s, u"backup"_s, &MainWindow::miBackup});
    dress(actBackup, u"actBackup"_s, u"Backup"_s);
    actDb2I = addTo(menu, {u"&Transfer SMS from Database to iPhone"_s, u"db2i"_s, &MainWindow::miDb2I});
    dress(actDb2I, u"actDb2I"_s, u"Transfer"_s);
    actExport = addTo(menu, {u"&Export SMS to File"_s, u"export"_s, &MainWindow::miExport});
    dress(actExport, u"actExport"_s, u"Export"_s, Qt::CTRL | Qt::Key_E);
    actPrint = addTo(menu, {u"&Print SMS"_s, u"print"_s, &MainWindow::miPrint});
    dress(actPrint, u"actPrint"_s, u"Print"_s, QKeySequence::Print);
    actDel = addTo(menu, {u"&Delete SMS"_s, u"delete"_s, &MainWindow::miDel});
    dress(actDel, u"actDel"_s, u"Delete"_s, QKeySequence::Delete);
    QAction *import = addTo(menu, {u"&Import SMS from iTunes Backup to Local Database"_s, u"import_itunes"_s,
                                   &MainWindow::miImportItunes});
    dress(import, u"actImport"_s, u"Import"_s, QKeySequence::Open);
    menu->addSeparator();
    addTo(menu, {u"&Open Database Folder"_s, u"open_db_folder"_s, &MainWindow::miOpenDbFolder});
    menu->addSeparator();
    QAction *exit = menu->addAction(programIcon(u":res/exit.png"_s), u"E&xit"_s, window, &QWidget::close);
    exit->setShortcut(Qt::CTRL | Qt::Key_Q);
    buildToolBar(import);
}

void WindowMenus::buildToolBar(QAction *import)
{
    auto *bar = new QToolBar(u"Toolbar"_s, window);
    bar->setObjectName(u"mainToolBar"_s);
    bar->setMovable(false);
    bar->setIconSize({24, 24});
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    bar->addActions({actBackup, actDb2I});
    bar->addSeparator();
    bar->addActions({actExport, actPrint});
    bar->addSeparator();
    bar->addAction(actDel);
    bar->addSeparator();
    bar->addAction(import);
    window->addToolBar(bar);
    window->setContextMenuPolicy(Qt::NoContextMenu); // the default one would hide the toolbar for good
}

void WindowMenus::buildToolsMenu()
{
    QMenu *menu = window->menuBar()->addMenu(u"&Tools"_s);
    actRecover = addTo(menu, {u"&Recover Deleted SMS"_s, {}, &MainWindow::miRecover});
    actRecover->setObjectName(u"actRecover"_s);
    addTo(menu, {u"Check for &Update"_s, {}, &MainWindow::miCheckUpdate});
    addTo(menu, {u"&Missing Attachments"_s, {}, &MainWindow::miMissingAttachments});
    addTo(menu, {u"&Clear Cache files"_s, {}, &MainWindow::miClearCache});
}

void WindowMenus::buildHelpMenu()
{
    QMenu *menu = window->menuBar()->addMenu(u"&Help"_s);
    addTo(menu, {u"&Help"_s, u"help"_s, &MainWindow::miHelp})->setShortcut(QKeySequence::HelpContents);
    addTo(menu, {u"&Feedback and Support"_s, {}, &MainWindow::miFeedback});
    addTo(menu, {u"&About"_s, {}, &MainWindow::miAbout});
}

void WindowMenus::addFind()
{
    auto *find = new QAction(window);
    find->setShortcut(QKeySequence::Find);
    connect(find, &QAction::triggered, window, &MainWindow::findMessages);
    window->addAction(find);
}

void WindowMenus::follow(const SourceState &state)
{
    const bool isDatabase = state.kind == SourceState::Kind::LocalDb;
    const bool isDevice = state.kind == SourceState::Kind::Device;
    actDb2I->setEnabled(isDatabase && state.hasDevice);
    actBackup->setEnabled(isDevice);
    actExport->setEnabled(isDatabase || isDevice);
    actPrint->setEnabled(isDatabase || isDevice);
    actDel->setEnabled(isDatabase);
    actRecover->setEnabled(isDevice);
}

void WindowMenus::fillTreeMenu(QMenu &menu, const SourceState &state) const
{
    addAll(menu, treeEntries(state), state);
}

void WindowMenus::fillListMenu(QMenu &menu, const SourceState &state) const
{
    addAll(menu, listEntries(state), state);
}
