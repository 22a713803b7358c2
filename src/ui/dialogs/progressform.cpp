#include "ui/dialogs/progressform.h"

#include "ui/dialogs/boxes.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr int showInterval = 30; // milliseconds

QLabel *plainLabel(const QString &name, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

ProgressForm::ProgressForm(const QString &title, QWidget *parent)
    : FramelessDialog(title, parent)
    , lbStatus(plainLabel(u"lbStatus"_s, this))
    , progressBar(new QProgressBar(this))
    , lbProgress(plainLabel(u"lbProgress"_s, this))
    , btnCancel(new QPushButton(u"Cancel"_s, this))
{
    build();
    lbStatus->setText(title);
    showTimer.setSingleShot(true);
    showTimer.setInterval(showInterval);
    connect(&showTimer, &QTimer::timeout, this, &ProgressForm::showReport);
    connect(btnCancel, &QPushButton::pressed, this, &ProgressForm::cancel);
    connect(this, &QDialog::finished, this, &ProgressForm::onFinish);
}

void ProgressForm::build()
{
    progressBar->setObjectName(u"progressBar"_s);
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    progressBar->setAccessibleName(u"Progress"_s);
    lbStatus->setWordWrap(true);
    lbProgress->setAlignment(Qt::AlignCenter);
    btnCancel->setObjectName(u"btnCancel"_s);
    btnCancel->setAutoDefault(
        false); // Enter, pressed a moment too late in the dialog before, mustn't stop a job

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lbStatus);
    layout->addWidget(progressBar);
    layout->addWidget(lbProgress);
    layout->addWidget(btnCancel, 0, Qt::AlignHCenter);
    setMinimumWidth(350);
    resize(350, 122);
}

template <typename Call>
void ProgressForm::onMainThread(Call call)
{
    // The context object is this form: calls still queued when it goes are dropped.
    QMetaObject::invokeMethod(this, call, Qt::AutoConnection);
}

void ProgressForm::updateProgress(const QString &status, int curProgress, const QString &progressText)
{
    onMainThread([this, report = Report{status, curProgress, progressText}] { takeReport(report); });
}

void ProgressForm::errorOccurred(const QString &err)
{
    onMainThread([this, err] {
        if (!ended) {
            showReport();
            showError(err, details);
            done(Rejected);
        }
    });
}

void ProgressForm::succeed(const QString &tipsStr)
{
    onMainThread([this, tipsStr] {
        if (ended)
            return;
        showReport();
        if (!tipsStr.isEmpty())
            showInfo(plainInBox(tipsStr));
        done(Accepted);
    });
}

void ProgressForm::tipsWait(const QString &info)
{
    tipsWaiting = true;
    onMainThread([this, info] {
        if (!ended)
            showInfo(plainInBox(info));
        tipsWaiting = false;
    });
}

void ProgressForm::noteDetails(const QString &text)
{
    onMainThread([this, text] { details = text; });
}

void ProgressForm::takeReport(const Report &report)
{
    if (ended)
        return;
    const bool isFirst = !pending;
    Report merged = pending.value_or(Report{});
    if (!report.status.isEmpty())
        merged.status = report.status;
    if (report.progress >= 0)
        merged.progress = report.progress;
    merged.text = report.text;
    pending = merged;
    if (isFirst && !showTimer.isActive())
        showReport();
}

void ProgressForm::showReport()
{
    if (!pending)
        return;
    const Report report = *std::exchange(pending, std::nullopt);
    if (!report.status.isEmpty())
        lbStatus->setText(report.status);
    if (report.progress >= 0)
        progressBar->setValue(report.progress);
    lbProgress->setText(report.text.isEmpty() ? u"Progress:%1%"_s.arg(progressBar->value()) : report.text);
    showTimer.start();
}

void ProgressForm::setCancelEnabled(bool enabled)
{
    btnCancel->setEnabled(enabled);
}

void ProgressForm::setBusy()
{
    progressBar->setRange(0, 0);
    progressBar->setTextVisible(false);
}

void ProgressForm::cancel()
{
    if (ended)
        return;
    Q_EMIT userCacel();
    done(Rejected);
}

void ProgressForm::onFinish(int result)
{
    cancelled = result == Rejected;
}

void ProgressForm::reject()
{
    if (btnCancel->isEnabled())
        cancel();
}

void ProgressForm::done(int result)
{
    ended = true;
    pending.reset();
    FramelessDialog::done(result);
}
