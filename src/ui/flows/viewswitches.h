#pragma once

#include "store/readers/messagegaps.h"

#include <QObject>
#include <QSettings>
#include <QWeakPointer>

#include <functional>

class MessagePane;
class QAction;
class QMenu;
class SourcePane;
struct _AbsDBItemNode;

/// What the window remembers from run to run: "view.ini" in the data root.
QSettings viewSettings();

/// The entries of the "View" menu: what of the messages a person wants to see. They are remembered from run
/// to run. All are off at first.
class ViewSwitches : public QObject
{
    Q_OBJECT

public:
    /// Fills `menu` and sets both panes as remembered. The panes must outlive the switches.
    ViewSwitches(QMenu *viewMenu, SourcePane *sourcePane, MessagePane *messagePane);

    /// Says above the conversation which messages are missing from what is selected, where that is switched
    /// on. Reads the source's row numbers when it is told of the first time; throws what that throws.
    void tellMissing();

Q_SIGNALS:
    /// What is selected has to be shown anew.
    void contentChanged();

private:
    using Apply = std::function<void(bool isOn)>;

    QAction *add(const QString &name, const QString &text, const Apply &apply);
    QStringList missingLines();
    const MessageGaps &gapsOf(const _AbsDBItemNode &source);

    QMenu *menu;
    SourcePane *sources;
    MessagePane *messages;
    QAction *missing = nullptr;
    /// The source read last and its gaps, which point into it.
    QWeakPointer<_MsgStore> readStore;
    MessageGaps gaps;
};
