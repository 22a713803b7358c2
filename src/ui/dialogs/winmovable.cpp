#include "ui/dialogs/winmovable.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

using namespace Qt::StringLiterals;

WinMovable::WinMovable(QWidget *movedWindow, QObject *parent) : QObject(parent), window(movedWindow)
{
    window->installEventFilter(this);
}

bool WinMovable::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == window) {
        if (event->type() == QEvent::MouseButtonPress)
            press(*static_cast<const QMouseEvent *>(event));
        else if (event->type() == QEvent::MouseMove)
            drag(*static_cast<const QMouseEvent *>(event));
        else if (event->type() == QEvent::MouseButtonRelease)
            dragging = false;
    }
    return false;
}

void WinMovable::press(const QMouseEvent &event)
{
    pressPosition = event.position();
    dragging = event.button() == Qt::LeftButton;
    // Wayland knows no positions of windows: there the compositor has to do the moving.
    if (dragging && QGuiApplication::platformName().startsWith("wayland"_L1) && window->windowHandle())
        dragging = !window->windowHandle()->startSystemMove();
}

void WinMovable::drag(const QMouseEvent &event)
{
    if (pressPosition && dragging)
        window->move(window->pos() + (event.position() - *pressPosition).toPoint());
}
