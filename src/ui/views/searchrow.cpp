#include "ui/views/searchrow.h"

#include "ui/views/programicon.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>

using namespace Qt::StringLiterals;

QHBoxLayout *searchRow(QLineEdit *edit, const QString &buttonName, const QString &tip, QWidget *parent,
                       const std::function<void()> &search)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(buttonName);
    button->setIcon(programIcon(u":res/search.png"_s));
    button->setAutoRaise(true);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    edit->setAccessibleName(edit->placeholderText());
    edit->setClearButtonEnabled(true);
    QObject::connect(edit, &QLineEdit::returnPressed, edit, search);
    QObject::connect(button, &QToolButton::pressed, button, [button, search] {
        // A box that the search opens would swallow the release.
        button->setDown(false);
        search();
    });
    auto *row = new QHBoxLayout;
    row->addWidget(edit);
    row->addWidget(button);
    return row;
}
