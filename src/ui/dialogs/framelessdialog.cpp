#include "ui/dialogs/framelessdialog.h"

#include "ui/views/stylesheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

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

QLabel *FramelessDialog::note(const QString &text)
{
    auto *label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setProperty("quiet", true);
    return label;
}

QHBoxLayout *FramelessDialog::buttonRow(const Button &confirming, const Button &closing)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 8, 0, 0);
    row->addStretch();
    addButton(row, confirming)->setDefault(true);
    addButton(row, closing);
    return row;
}

QPushButton *FramelessDialog::addButton(QHBoxLayout *row, const Button &button)
{
    auto *made = new QPushButton(button.text, this);
    made->setObjectName(button.name);
    connectPress(
        made, button.slot ? button.slot : [this] { reject(); });
    row->addWidget(made);
    return made;
}
