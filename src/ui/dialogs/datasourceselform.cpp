#include "ui/dialogs/datasourceselform.h"

#include "ui/dialogs/boxes.h"

#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

DataSourceSelForm::DataSourceSelForm(QWidget *parent)
    : FramelessDialog(QObject::tr("IDS_TITLE_SELECT_ONE_DEVICE_TO_TRANSFER"), parent)
    , lbSelDevice(heading(u"lbSelDevice"_s, windowTitle()))
    , cbDevice(new QComboBox(this))
{
    build();
}

void DataSourceSelForm::build()
{
    cbDevice->setObjectName(u"cbDevice"_s);
    cbDevice->setAccessibleName(windowTitle());
    lbSelDevice->setBuddy(cbDevice);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lbSelDevice);
    layout->addWidget(cbDevice);
    layout->addLayout(
        buttonRow({u"btnOK"_s, u"C&onfirm"_s, [this] { confirm(); }}, {u"btnClose"_s, u"&Cancel"_s}));
    setMinimumWidth(360);
    cbDevice->setFocus();
}

void DataSourceSelForm::addItem(const QIcon &icon, const QString &name, _IOSDeviceItemNode *node)
{
    cbDevice->addItem(icon, name, QVariant::fromValue(static_cast<void *>(node)));
    cbDevice->setCurrentIndex(cbDevice->count() == 1 ? 0 : -1);
}

void DataSourceSelForm::setHeading(const QString &text)
{
    lbSelDevice->setText(text);
    cbDevice->setAccessibleName(text);
}

void DataSourceSelForm::confirm()
{
    if (cbDevice->currentIndex() < 0)
        return showWarning(QObject::tr("IDS_PLEASE_SELECT_ONE_DATASOURCE"));
    chosen = static_cast<_IOSDeviceItemNode *>(cbDevice->currentData().value<void *>());
    accept();
}
