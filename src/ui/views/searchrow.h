#pragma once

#include <QString>

#include <functional>

class QHBoxLayout;
class QLineEdit;
class QWidget;

/// A row of `edit` and a search button named `buttonName` that says `tip`. Both run `search`.
QHBoxLayout *searchRow(QLineEdit *edit, const QString &buttonName, const QString &tip, QWidget *parent,
                       const std::function<void()> &search);
