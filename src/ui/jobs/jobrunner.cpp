#include "ui/jobs/jobrunner.h"

#include "ui/dialogs/progressform.h"

#include <QThread>

#include <exception>

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

} // namespace

bool runUnder(ProgressForm &form, QThread &job)
{
    job.start();
    const bool succeeded = form.exec() == QDialog::Accepted && !form.cancelled;
    job.wait();
    return succeeded;
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
