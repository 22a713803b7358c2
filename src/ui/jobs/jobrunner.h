#pragma once

#include <QString>

#include <functional>

class ProgressForm;
class QThread;
class QWidget;

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
