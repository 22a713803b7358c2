#pragma once

#include "ui/dialogs/framelessdialog.h"

/// Says what this program is and where it comes from.
class AboutUsForm : public FramelessDialog
{
    Q_OBJECT

public:
    explicit AboutUsForm(QWidget *parent = nullptr);
};
