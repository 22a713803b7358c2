#pragma once

#include "ui/flows/messageworkers.h"
#include "ui/windowmenus.h"

#include <QMainWindow>
#include <QTimer>

#include <functional>

class PhoneArrivals;
class QItemSelection;
struct DeviceWatchTarget;
struct ReadPhone;
class QLabel;
class ViewSwitches;
struct _ChatSessionItemNode;
struct _AbsDBItemNode;

/// The program's window. It turns every action into a list of messages and a worker; the tree, the
/// messages, the menus and the workers are parts of their own. Main thread only.
///
/// Closing it while a dialog is up waits: the window closes when that flow has come to its end.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    /// Puts a widget above the tree and the messages, and owns it.
    void showOnTop(QWidget *widget);
    /// Imports the backup in that folder, as soon as the event loop runs.
    void importFolder(const QString &folder);

public Q_SLOTS:
    // Told by the watch on phones, with the phone's handle.
    void iosDeviceConnected(void *p);
    void iosDeviceDisconnected(void *p);
    /// Its owner trusts this computer from now on.
    void iosDevicePaired(void *p);
    void onMainTreeSelected(const QItemSelection &selections, const QItemSelection &);
    void onMainTreeContextMenu();
    void onSMSContextMenu();

    // Four slots a worker: what the selection says, the rows selected, the conversation on view, the
    // whole source.
    void miBackup() { work(&MessageWorkers::backup, Scope::Dispatched); }
    void miBackupSel() { work(&MessageWorkers::backup, Scope::Selected); }
    void miBackupChat() { work(&MessageWorkers::backup, Scope::Conversation); }
    void miBackupAll() { work(&MessageWorkers::backup, Scope::Source); }
    void miExport() { work(&MessageWorkers::exportMessages, Scope::Dispatched); }
    void miExportSel() { work(&MessageWorkers::exportMessages, Scope::Selected); }
    void miExportChat() { work(&MessageWorkers::exportMessages, Scope::Conversation); }
    void miExportAll() { work(&MessageWorkers::exportMessages, Scope::Source); }
    void miPrint() { work(&MessageWorkers::print, Scope::Dispatched); }
    void miPrintSel() { work(&MessageWorkers::print, Scope::Selected); }
    void miPrintChat() { work(&MessageWorkers::print, Scope::Conversation); }
    void miPrintAll() { work(&MessageWorkers::print, Scope::Source); }
    void miDb2I() { work(&MessageWorkers::restoreToDevice, Scope::Dispatched); }
    void miDb2ISel() { work(&MessageWorkers::restoreToDevice, Scope::Selected); }
    void miDb2IChat() { work(&MessageWorkers::restoreToDevice, Scope::Conversation); }
    void miDb2IAll() { work(&MessageWorkers::restoreToDevice, Scope::Source); }
    void miExport2iTunes() { work(&MessageWorkers::exportToBackup, Scope::Dispatched); }
    void miExport2iTunesSel() { work(&MessageWorkers::exportToBackup, Scope::Selected); }
    void miExport2iTunesChat() { work(&MessageWorkers::exportToBackup, Scope::Conversation); }
    void miExport2iTunesAll() { work(&MessageWorkers::exportToBackup, Scope::Source); }
    void miI2I() { miDb2I(); }
    void miI2ISel() { miDb2ISel(); }
    void miI2IChat() { miDb2IChat(); }
    void miI2IAll() { miDb2IAll(); }

    void miDel();
    void miDelSel();
    void miDelChat();
    void miDelAll();

    void miImportItunes();
    void miImportToLocalDb();
    /// Looks for deleted messages in the phone on view.
    void miRecover();
    void miViewCache();
    void miOpenDbFolder();
    void miCheckUpdate();
    void miHelp();
    void miFeedback();
    void miAbout();
    void miHome();
    void miClearCache();
    void miUnmoutDevice();
    /// Which attachments of the source aren't there.
    void miMissingAttachments();
    /// Goes to the field that searches messages.
    void findMessages();

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    using Worker = void (MessageWorkers::*)(const MessageChoice &);

    void build();
    void watchPhones();
    void readArrived(void *p);
    void showPhone(const ReadPhone &phone);
    void fillStatusBar();
    SourceState state() const;
    /// Puts on view what is selected in the tree; when sources are in use, as soon as none is.
    void showSelected();
    void showSource(_AbsDBItemNode *source);
    void showConversation(_ChatSessionItemNode *conversation);
    void popUp(void (WindowMenus::*fill)(QMenu &, const SourceState &) const);

    void work(Worker worker, Scope scope);
    /// Runs what may open dialogs or throw; a failure is logged and shown.
    void runFlow(const std::function<void()> &flow);
    /// Runs what may put a source on view anew, which takes the notice of missing messages away.
    void runReading(const std::function<void()> &flow);
    void openPage(const QString &page);

    SourcePane *sources;
    MessagePane *messages;
    MessageWorkers *workers;
    WindowMenus *menus;
    ViewSwitches *views;
    PhoneArrivals *phones;
    QLabel *advLabel;
    DeviceWatchTarget *phoneWatch = nullptr; ///< null while no phone can come
    QTimer selectionTimer;                   ///< shows what was selected last, however often that changed
    bool selectionWaits = false;             ///< for sources that are in use
    int flowsRunning = 0;
    bool closeWanted = false;
};
