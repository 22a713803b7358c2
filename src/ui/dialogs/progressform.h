#pragma once

#include "app/jobprogress.h"
#include "ui/dialogs/framelessdialog.h"

#include <QTimer>

class QLabel;
class QProgressBar;
class QPushButton;

/// The modal dialog under which a job runs on its own thread. Its `exec()` is 1 when the job succeeded and
/// 0 when it failed or was cancelled; `cancelled` is then set. The calls of `JobProgress` may come from any
/// thread, everything else from the main thread. Wait for the job's thread before the form goes.
class ProgressForm : public FramelessDialog, public JobProgress
{
    Q_OBJECT

public:
    /// `title` is also the first status shown.
    explicit ProgressForm(const QString &title, QWidget *parent = nullptr);

    void updateProgress(const QString &status, int curProgress, const QString &progressText) override;
    void errorOccurred(const QString &err) override;
    void succeed(const QString &tipsStr) override;
    void tipsWait(const QString &info) override;
    void noteDetails(const QString &text) override;

    /// For steps that can't be interrupted. Escape and closing the window follow the button.
    void setCancelEnabled(bool enabled);
    /// For a job that can't tell how far it is: the bar moves without a number.
    void setBusy();

    /// True from `tipsWait` until the person has dismissed that message; a job may poll it.
    std::atomic_bool tipsWaiting = false;

public Q_SLOTS:
    void onFinish(int result);
    void cancel();
    /// Cancels where that is enabled and does nothing where it isn't.
    void reject() override;
    void done(int result) override;

Q_SIGNALS:
    /// A job that waits for something else connects its own way of stopping to this.
    void userCacel();

private:
    /// What a burst of reports comes to; shown a few dozen times a second at most.
    struct Report {
        QString status;
        int progress = -1;
        QString text;
    };

    void build();
    void takeReport(const Report &report);
    void showReport();
    template <typename Call>
    void onMainThread(Call call);

    QLabel *lbStatus;
    QProgressBar *progressBar;
    QLabel *lbProgress;
    QPushButton *btnCancel;
    std::optional<Report> pending;
    QString details; ///< for the box of a failure
    QTimer showTimer;
    bool ended = false;
};
