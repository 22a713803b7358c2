#pragma once

#include <QObject>

class MainWindow;
class QAction;
class QMenu;
struct MenuEntry;

/// What the tree's selection says to the actions. A conversation counts as its source.
struct SourceState {
    enum class Kind { None, LocalDbRoot, Device, LocalDb };
    Kind kind = Kind::None;
    bool isConversation = false;
    bool hasDevice = false; ///< whether there is a phone to transfer to
};

/// The menus, the toolbar and the context menus of the main window.
class WindowMenus : public QObject
{
    Q_OBJECT

public:
    /// Adds menus and toolbar to `mainWindow`.
    explicit WindowMenus(MainWindow *mainWindow);

    /// Sets the actions that depend on the selection.
    void follow(const SourceState &state);
    /// The entries for the node selected in the tree; none for "Devices".
    void fillTreeMenu(QMenu &menu, const SourceState &state) const;
    /// The entries for messages selected in the list; none without a source.
    void fillListMenu(QMenu &menu, const SourceState &state) const;
    /// Empty at first; what can be switched fills it.
    QMenu *viewMenu() const { return view; }

private:
    QAction *addTo(QMenu *menu, const MenuEntry &entry) const;
    void addAll(QMenu &menu, const QList<MenuEntry> &entries, const SourceState &state) const;
    void buildFileMenu();
    void buildToolsMenu();
    void buildHelpMenu();
    void buildToolBar(QAction *import);
    void addFind();

    MainWindow *window;
    QMenu *view = nullptr;
    QAction *actBackup = nullptr;
    QAction *actDb2I = nullptr;
    QAction *actExport = nullptr;
    QAction *actPrint = nullptr;
    QAction *actDel = nullptr;
    QAction *actRecover = nullptr;
};
