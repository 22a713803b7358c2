#include "ui/dialogs/countryselform.h"

#include "ui/dialogs/boxes.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CountrySelForm::CountrySelForm(QWidget *parent)
    : FramelessDialog(QObject::tr("IDS_SEL_YOUR_PHONE_COUNTRY"), parent)
    , choices(countryChoices())
    , filter(new QLineEdit(this))
    , list(new QListWidget(this))
{
    build();
    showMatching({});
    connect(filter, &QLineEdit::textChanged, this, &CountrySelForm::showMatching);
    connect(list, &QListWidget::itemDoubleClicked, this, &CountrySelForm::confirm);
}

void CountrySelForm::build()
{
    QLabel *title = heading(u"lbTitle"_s, windowTitle());
    filter->setObjectName(u"txtCountry"_s);
    filter->setPlaceholderText(u"Type a part of the name or code"_s);
    filter->setClearButtonEnabled(true);
    filter->setAccessibleName(windowTitle());
    list->setObjectName(u"listCountries"_s);
    list->setAccessibleName(u"Countries"_s);
    list->setUniformItemSizes(true);
    title->setBuddy(filter);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(filter);
    layout->addWidget(list);
    layout->addLayout(
        buttonRow({u"btnOK"_s, u"&OK"_s, [this] { confirm(); }}, {u"btnCancel"_s, u"&Cancel"_s}));
    resize(360, 400);
    filter->setFocus();
}

void CountrySelForm::showMatching(const QString &typed)
{
    list->clear();
    for (const CountryChoice &choice : choices) {
        if (!choice.label.contains(typed, Qt::CaseInsensitive))
            continue;
        auto *item = new QListWidgetItem(choice.label, list);
        item->setData(Qt::UserRole, choice.mmc);
    }
}

void CountrySelForm::confirm()
{
    const QListWidgetItem *item = list->currentItem();
    if (!item)
        return showWarning(QObject::tr("IDS_CANT_CONTINUE_WITHOUT_SEL_ONE_COUNTRY"));
    if (!ask(QObject::tr("IDS_CONFIRM_SEL_COUNTRY_%1").arg(item->text().toHtmlEscaped())))
        return;
    selectedMmc = item->data(Qt::UserRole).toString();
    accept();
}

QString askCountry(QWidget *window)
{
    showInfo(QObject::tr("IDS_ANDROID_%1_CANT_READ_MMC_NUMBER"));
    CountrySelForm form(window);
    return form.exec() == QDialog::Accepted ? form.selectedMmc : QString();
}
