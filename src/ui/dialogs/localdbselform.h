#pragma once

#include "ui/dialogs/framelessdialog.h"

class QComboBox;

/// Asks for the name of the Local Database that takes messages: one that is there, or a new one.
class LocalDbSelForm : public FramelessDialog
{
    Q_OBJECT

public:
    /// `names` are the databases that are there; `proposal` is what stands in the field at first.
    LocalDbSelForm(const QStringList &names, const QString &proposal, QWidget *parent = nullptr);

    /// The name, fit for a folder; empty on cancel.
    QString selectedName() const { return name; }

private:
    void build(const QStringList &names, const QString &proposal);
    void confirm();

    QComboBox *cbLocalDbNames;
    QString name;
};
