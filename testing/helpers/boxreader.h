#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

/// Plays the person in front of message boxes: notes the text of each that opens and presses `answer`.
class BoxReader
{
public:
    explicit BoxReader(QMessageBox::StandardButton answer = QMessageBox::Ok) : button(answer)
    {
        QObject::connect(&timer, &QTimer::timeout, [this] { read(); });
        timer.start(5);
    }

    QStringList texts;
    QStringList kinds; ///< such as "box-warning"
    QStringList details;
    int tallest = 0; ///< in pixels

private:
    void read()
    {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->button(button))
            return;
        texts.append(box->text());
        kinds.append(box->objectName());
        details.append(box->detailedText());
        tallest = std::max(tallest, box->height());
        box->button(button)->click();
    }

    QMessageBox::StandardButton button;
    QTimer timer;
};
