#include "ui/jobs/jobrunner.h"

#include "ui/dialogs/progressform.h"

#include <QThread>

#include <exception>
#include <memory>

namespace
{

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

/// A job that was cancelled ends what it can't leave half done; the window stays alive meanwhile.
void waitForStopping(QThread &job, QWidget *parent)
{
    constexpr int unnoticed = 200; // milliseconds
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
