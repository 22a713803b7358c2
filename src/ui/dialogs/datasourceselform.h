#pragma once

#include "ui/dialogs/framelessdialog.h"

struct _IOSDeviceItemNode;
class QComboBox;
class QLabel;

/// Asks for one of the phones in the source tree.
class DataSourceSelForm : public FramelessDialog
{
    Q_OBJECT

public:
    explicit DataSourceSelForm(QWidget *parent = nullptr);

    /// One row, shown with `icon` and `name`. A single row is chosen at once.
    void addItem(const QIcon &icon, const QString &name, _IOSDeviceItemNode *node);
    void setHeading(const QString &text);

    /// The chosen phone's node; null on cancel.
    _IOSDeviceItemNode *selected() const { return chosen; }

private:
    void build();
    void confirm();

    QLabel *lbSelDevice;
    QComboBox *cbDevice;
    _IOSDeviceItemNode *chosen = nullptr;
};
