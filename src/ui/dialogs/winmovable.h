#pragma once

#include <QObject>
#include <QPointF>

#include <optional>

class QMouseEvent;
class QWidget;

/// Lets a person drag a window that has no frame: with the left button, from anywhere in it that takes
/// no clicks of its own.
class WinMovable : public QObject
{
    Q_OBJECT

public:
    /// Filters the events of `movedWindow`, which is not owned.
    explicit WinMovable(QWidget *movedWindow, QObject *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void press(const QMouseEvent &event);
    void drag(const QMouseEvent &event);

    QWidget *window;
    std::optional<QPointF> pressPosition; ///< in the window's coordinates
    bool dragging = false;
};
