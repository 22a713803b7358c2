#include "framelessdialog.h"

#include "stylesheet.h"

#include <QLabel>

FramelessDialog::FramelessDialog(const QString &title, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), movable(this)
{
    setWindowTitle(title);
    setStyleSheet(loadStyleSheet());
    setSizeGripEnabled(false);
}

QLabel *FramelessDialog::heading(const QString &name, const QString &text)
{
    auto *label = new QLabel(text, this);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setProperty("heading", true);
    return label;
}
