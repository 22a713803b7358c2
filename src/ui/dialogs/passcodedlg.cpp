#include "ui/dialogs/passcodedlg.h"

#include "backup/backupmanifest.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/jobs/jobrunner.h"

#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QScopeGuard>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

PasscodeDlg::PasscodeDlg(BackupManifest *openedManifest, QWidget *parent)
    : FramelessDialog(QObject::tr("IDS_ENTER_PASSWORD"), parent)
    , manifest(openedManifest)
    , txtPassword(new QLineEdit(this))
    , lbBusy(note({}))
{
    build();
}

void PasscodeDlg::build()
{
    QLabel *title = heading(u"lbTitle"_s, QObject::tr("IDS_PLEASE_ENTER_PASSWORD_TO_LOAD_BACKUP"));
    txtPassword->setObjectName(u"txtPassword"_s);
    txtPassword->setEchoMode(QLineEdit::Password);
    txtPassword->setAccessibleName(title->text());
    title->setBuddy(txtPassword);
    lbBusy->setObjectName(u"lbBusy"_s);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(txtPassword);
    layout->addWidget(lbBusy);
    layout->addLayout(
        buttonRow({u"btnOK"_s, u"&OK"_s, [this] { confirm(); }}, {u"btnCancel"_s, u"&Cancel"_s}));
    setMinimumWidth(480);
    txtPassword->setFocus();
}

void PasscodeDlg::confirm()
{
    const QString password = txtPassword->text();
    if (password.isEmpty())
        return showWarning(QObject::tr("IDS_PWD_IS_NULL"));
    try {
        const std::optional<bool> isUnlocked = unlock(password);
        if (isUnlocked == true)
            accept();
        else if (isUnlocked == false)
            refuse();
    } catch (const std::exception &error) {
        showError(QString::fromUtf8(error.what()));
    }
}

/// Nothing when the person didn't wait for the end.
std::optional<bool> PasscodeDlg::unlock(const QString &password)
{
    return manifest->isSlowToUnlock() ? unlockSlowly(password) : unlockAtOnce(password);
}

std::optional<bool> PasscodeDlg::unlockSlowly(const QString &password)
{
    bool isUnlocked = false;
    ProgressForm form(QObject::tr("IDS_CHECKING_PASSWORD"), this);
    const bool isDone = runWork(form, [&] { isUnlocked = manifest->unlockKeyBag(password, &form); });
    return isDone ? std::optional(isUnlocked) : std::nullopt;
}

bool PasscodeDlg::unlockAtOnce(const QString &password)
{
    // The keybag's own key derivation takes a second or more and can't be interrupted: say so first.
    lbBusy->setText(QObject::tr("IDS_CHECKING_PASSWORD"));
    setEnabled(false);
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const auto idle = qScopeGuard([this] {
        QGuiApplication::restoreOverrideCursor();
        setEnabled(true);
        txtPassword->setFocus();
        lbBusy->clear();
    });
    repaint();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); // lets the window system show it
    return manifest->unlockKeyBag(password);
}

void PasscodeDlg::refuse()
{
    showWarning(QObject::tr("IDS_INVALID_PASSWORD"));
    txtPassword->clear();
}
