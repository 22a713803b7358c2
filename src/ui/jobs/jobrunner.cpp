#include "ui/jobs/jobrunner.h"

#include "ui/dialogs/progressform.h"

#include <QCoreApplication>
#include <QThread>

#include <exception>
#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;

namespace
{

constexpr int unnoticed = 200; // milliseconds that a window may stand still

class WorkThread final : public QThread
{
public:
    WorkThread(const std::function<void()> &toDo, ProgressForm *waiting) : work(toDo), form(waiting) {}

    std::exception_ptr failure;

protected:
    void run() override
    {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        form->succeed({});
    }

private:
    std::function<void()> work;
    ProgressForm *form;
};

/// Lives as long as the work or the one who waits for it, whoever is last.
class DialogPatience final : public Patience
{
public:
    explicit DialogPatience(ProgressForm *dialog) : form(dialog) {}

    bool isOver() const override { return left; }
    void say(const QString &status) const override
    {
        const std::lock_guard lock(mutex);
        if (!left)
            form->updateProgress(status, -1, u" "_s); // no percentage
    }
    void leave()
    {
        const std::lock_guard lock(mutex);
        left = true;
    }

    std::exception_ptr failure;

private:
    mutable std::mutex mutex; // over the form, which goes when it was left
    std::atomic_bool left = false;
    ProgressForm *form;
};

/// A job that was cancelled ends what it can't leave half done; the window stays alive meanwhile.
void waitForStopping(QThread &job, QWidget *parent)
{
    if (job.wait(unnoticed))
        return;
    ProgressForm form(QObject::tr("IDS_STOPPING"), parent);
    form.setCancelEnabled(false);
    form.setBusy();
    QObject::connect(&job, &QThread::finished, &form, [&form] { form.succeed({}); });
    if (job.isRunning())
        form.exec();
    job.wait();
}

} // namespace

bool runUnder(ProgressForm &form, QThread &job)
{
    job.start();
    const bool succeeded = form.exec() == QDialog::Accepted && !form.cancelled;
    waitForStopping(job, form.parentWidget());
    return succeeded;
}

bool runAsJob(ProgressForm &form, const std::function<QString()> &work)
{
    const std::unique_ptr<QThread> job(QThread::create([&] { runJob(form, work); }));
    return runUnder(form, *job);
}

bool runWork(ProgressForm &form, const std::function<void()> &work)
{
    WorkThread thread(work, &form);
    const bool isDone = runUnder(form, thread);
    if (isDone && thread.failure)
        std::rethrow_exception(thread.failure);
    return isDone;
}

void runBusy(const QString &title, QWidget *parent, const std::function<void()> &work)
{
    ProgressForm form(title, parent);
    form.setCancelEnabled(false);
    form.setBusy();
    runWork(form, work);
}

bool runUnlessLeft(const QString &title, QWidget *parent, const std::function<void(const Patience &)> &work)
{
    ProgressForm form(title, parent);
    form.setBusy();
    const auto patience = std::make_shared<DialogPatience>(&form);
    QThread *thread = QThread::create([work, patience] {
        try {
            work(*patience);
        } catch (...) {
            patience->failure = std::current_exception();
        }
    });
    QObject::connect(thread, &QThread::finished, &form, [&form] { form.succeed({}); });
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, thread, [thread] { thread->wait(); });
    thread->start();
    const bool isDone = thread->wait(unnoticed) || form.exec() == QDialog::Accepted;
    patience->leave();
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    if (thread->isFinished())
        thread->deleteLater();
    if (isDone && patience->failure)
        std::rethrow_exception(patience->failure);
    return isDone;
}
