#pragma once

#include "winmovable.h"

#include <QAbstractButton>
#include <QDialog>

class QLabel;

/// Base of the program's dialogs: no frame, draggable, in the common style.
class FramelessDialog : public QDialog
{
    Q_OBJECT

protected:
    FramelessDialog(const QString &title, QWidget *parent);

    /// A new label in the style of a heading, its object name `name`. Texts are plain.
    QLabel *heading(const QString &name, const QString &text);

    /// Calls `slot` when the button goes down. The button comes up first: a box opened by `slot` would
    /// swallow the release.
    template <typename Slot>
    void connectPress(QAbstractButton *button, Slot slot)
    {
        connect(button, &QAbstractButton::pressed, this, [button, slot] {
            button->setDown(false);
            slot();
        });
    }

private:
    WinMovable movable;
};
