#pragma once

#include "store/people/countrylibdb.h"
#include "ui/dialogs/framelessdialog.h"

class QLineEdit;
class QListWidget;

/// Asks for the country of a phone that doesn't tell it.
class CountrySelForm : public FramelessDialog
{
    Q_OBJECT

public:
    /// Throws when the table of countries can't be opened.
    explicit CountrySelForm(QWidget *parent = nullptr);

    /// Mobile country code of the country chosen; empty on cancel.
    QString selectedMmc;

private:
    void build();
    void showMatching(const QString &typed);
    void confirm();

    const QList<CountryChoice> choices;
    QLineEdit *filter;
    QListWidget *list;
};

/// Says that the phone doesn't tell its country, and asks for it. Empty on cancel.
QString askCountry(QWidget *window);
