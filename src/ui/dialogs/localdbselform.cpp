#include "ui/dialogs/localdbselform.h"

#include "recovery/local/localdatabases.h"
#include "ui/dialogs/boxes.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

LocalDbSelForm::LocalDbSelForm(const QStringList &names, const QString &proposal, QWidget *parent)
    : FramelessDialog(u"Select one Database for backup"_s, parent), cbLocalDbNames(new QComboBox(this))
{
    build(names, proposal);
}

void LocalDbSelForm::build(const QStringList &names, const QString &proposal)
{
    QLabel *label = heading(u"label"_s, u"Select current database to merge or enter a new database name:"_s);
    QLabel *note = this->note(u"Selecting current Database will merge messages;"
                              "entering new DB name will create a new Database."_s);
    cbLocalDbNames->setObjectName(u"cbLocalDbNames"_s);
    cbLocalDbNames->setEditable(true);
    cbLocalDbNames->addItems(names);
    cbLocalDbNames->setEditText(proposal);
    cbLocalDbNames->lineEdit()->selectAll();
    cbLocalDbNames->setAccessibleName(label->text());
    cbLocalDbNames->setAccessibleDescription(note->text());
    label->setBuddy(cbLocalDbNames);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(cbLocalDbNames);
    layout->addWidget(note);
    layout->addLayout(
        buttonRow({u"btnOK"_s, u"C&onfirm"_s, [this] { confirm(); }}, {u"btnClose"_s, u"&Cancel"_s}));
    setMinimumWidth(500);
    cbLocalDbNames->setFocus();
}

void LocalDbSelForm::confirm()
{
    const QString typed = cbLocalDbNames->currentText().trimmed();
    if (const QString error = localDatabaseNameError(typed); !error.isEmpty())
        return showWarning(error.toHtmlEscaped());
    name = typed;
    accept();
}
