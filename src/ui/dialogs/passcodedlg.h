#pragma once

#include "ui/dialogs/framelessdialog.h"

#include <optional>

class BackupManifest;
class QLabel;
class QLineEdit;

/// Asks for the password of an encrypted backup and opens its keybag with it. `exec()` is 1 with the
/// keybag open and 0 when the person gave up; there is no limit on tries.
class PasscodeDlg : public FramelessDialog
{
    Q_OBJECT

public:
    /// `openedManifest` is borrowed and has its `loadInfo` behind it.
    explicit PasscodeDlg(BackupManifest *openedManifest, QWidget *parent = nullptr);

private:
    void build();
    void confirm();
    std::optional<bool> unlock(const QString &password);
    std::optional<bool> unlockSlowly(const QString &password);
    bool unlockAtOnce(const QString &password);
    void refuse();

    BackupManifest *manifest;
    QLineEdit *txtPassword;
    QLabel *lbBusy;
};
