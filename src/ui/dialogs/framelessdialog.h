#pragma once

#include "ui/dialogs/winmovable.h"

#include <QAbstractButton>
#include <QDialog>

#include <functional>

class QHBoxLayout;
class QLabel;
class QPushButton;

/// Base of the program's dialogs: no frame, draggable, in the common style.
class FramelessDialog : public QDialog
{
    Q_OBJECT

protected:
    FramelessDialog(const QString &title, QWidget *parent);

    /// A new label in the style of a heading, its object name `name`. Texts are plain.
    QLabel *heading(const QString &name, const QString &text);

    /// A new label in small, quiet writing below what it explains. Texts are plain.
    QLabel *note(const QString &text);

    /// A push button of a dialog's last row. `text` may hold a mnemonic; without `slot` it rejects.
    struct Button {
        QString name;
        QString text;
        std::function<void()> slot = {};
    };
    /// The last row of a dialog: `confirming`, which Enter presses, and after it `closing`.
    QHBoxLayout *buttonRow(const Button &confirming, const Button &closing);

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
    QPushButton *addButton(QHBoxLayout *row, const Button &button);

    WinMovable movable;
};
