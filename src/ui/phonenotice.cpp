#include "ui/phonenotice.h"

#include "device/mobiledevice.h"
#include "ui/flows/viewswitches.h"
#include "ui/mainwindow.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSettings>
#include <QStandardPaths>
#include <QStyle>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace
{

const QString closedKey = u"phoneNoticeClosed"_s;

QToolButton *closeButton(QWidget *bar)
{
    auto *button = new QToolButton(bar);
    button->setObjectName(u"btnCloseNotice"_s);
    button->setAutoRaise(true);
    button->setIcon(bar->style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    button->setToolTip(u"Close"_s);
    button->setAccessibleName(u"Close"_s);
    QObject::connect(button, &QToolButton::clicked, bar, [bar] {
        viewSettings().setValue(closedKey, true);
        bar->hide();
    });
    return button;
}

} // namespace

QStringList missingForPhones()
{
    QStringList missing;
    if (!mobiledevice_is_loaded())
        missing.append(QObject::tr("IDS_NO_PHONE_LIBRARY"));
    else if (!mobiledevice_can_reach_phones())
        missing.append(QObject::tr("IDS_NO_PHONE_SERVICE"));
    if (QStandardPaths::findExecutable(u"idevicebackup2"_s).isEmpty())
        missing.append(QObject::tr("IDS_NO_PHONE_BACKUP_TOOL"));
    return missing;
}

void showPhoneNotice(MainWindow &window, const QStringList &missing)
{
    if (missing.isEmpty() || viewSettings().value(closedKey).toBool())
        return;
    auto *bar = new QWidget;
    bar->setObjectName(u"phoneNotice"_s);
    auto *text = new QLabel(QObject::tr("IDS_PHONES_NEED_%1").arg(missing.join(u", "_s)), bar);
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(8, 4, 4, 0);
    layout->addWidget(text, 1);
    layout->addWidget(closeButton(bar), 0, Qt::AlignTop);
    window.showOnTop(bar);
}
