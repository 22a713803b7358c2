#include "ui/views/noticebar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

using namespace Qt::StringLiterals;

NoticeBar::NoticeBar(const QString &name, const QString &text) : row(new QHBoxLayout(this))
{
    setObjectName(name);
    auto *label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    auto *button = new QToolButton(this);
    button->setObjectName(u"btnCloseNotice"_s);
    button->setAutoRaise(true);
    button->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    button->setToolTip(u"Close"_s);
    button->setAccessibleName(u"Close"_s);
    row->setContentsMargins(8, 4, 4, 0);
    row->addWidget(label, 1);
    row->addWidget(button, 0, Qt::AlignTop);
    connect(button, &QToolButton::clicked, this, [this] {
        hide();
        Q_EMIT closed();
    });
}

QPushButton *NoticeBar::addButton(const QString &label)
{
    auto *button = new QPushButton(label, this);
    row->insertWidget(row->count() - 1, button);
    return button;
}
