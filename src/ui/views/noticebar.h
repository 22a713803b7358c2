#pragma once

#include <QWidget>

class QHBoxLayout;
class QPushButton;

/// A line above all else in the window, which says something and can be closed.
class NoticeBar : public QWidget
{
    Q_OBJECT

public:
    /// `name` is that of the object; `text` is plain.
    NoticeBar(const QString &name, const QString &text);

    /// Beside the text.
    QPushButton *addButton(const QString &label);

Q_SIGNALS:
    /// The person closed it; it is hidden.
    void closed();

private:
    QHBoxLayout *row;
};
