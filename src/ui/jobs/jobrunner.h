#pragma once

#include <QString>

#include <functional>

class ProgressForm;
class QThread;
class QWidget;

/// What work that nobody may wait for any more knows of the dialog over it. Any thread.
class Patience
{
public:
    virtual ~Patience() = default;
    virtual bool isOver() const = 0; ///< the person gave up
    virtual void say(const QString &status) const = 0;
};

/// Runs `job` under `form` and waits for both. True when the job succeeded; when it failed or was
/// cancelled, the person knows.
bool runUnder(ProgressForm &form, QThread &job);

/// The same for a step that has no thread class: `work` runs as `runJob` does.
bool runAsJob(ProgressForm &form, const std::function<QString()> &work);

/// Runs `work`, which may report to `form`, on a thread of its own and waits for both. False when it was
/// cancelled. What `work` throws is else thrown again here.
bool runWork(ProgressForm &form, const std::function<void()> &work);

/// Runs `work`, which can't be interrupted, on a thread of its own while a busy dialog with `title` stands
/// over `parent`. What `work` throws is thrown again here.
void runBusy(const QString &title, QWidget *parent, const std::function<void()> &work);

/// Runs `work`, which can't be interrupted, on a thread of its own under a dialog that the person may leave
/// at once: false then, and `work` goes on by itself, so that it may use nothing that ends before it. What it
/// throws while it is waited for is thrown again here.
bool runUnlessLeft(const QString &title, QWidget *parent, const std::function<void(const Patience &)> &work);
