#pragma once

#include <QElapsedTimer>
#include <QString>

#include <atomic>
#include <stdexcept>

/// What a job knows of whoever waits for it: a progress dialog, or a terminal. A job may call these
/// from its own thread; how they reach the waiting side is the implementation's affair.
class JobProgress
{
public:
    JobProgress() = default;
    JobProgress(const JobProgress &) = delete;
    JobProgress &operator=(const JobProgress &) = delete;
    virtual ~JobProgress() = default;

    /// An empty `status` keeps the words shown, a negative `curProgress` keeps the bar (percent), an
    /// empty `progressText` shows the bar's value in words.
    virtual void updateProgress(const QString &status, int curProgress, const QString &progressText) = 0;
    /// The job failed with `err`. Exactly one of this and `succeed` ends a job that isn't cancelled.
    virtual void errorOccurred(const QString &err) = 0;
    /// The job is done; `tipsStr` is shown unless it is empty.
    virtual void succeed(const QString &tipsStr) = 0;
    /// What a person may want to read besides, should the job fail: before `errorOccurred`. Plain text; not
    /// everyone who waits shows it.
    virtual void noteDetails(const QString & /*details*/) {}
    /// Shows `info` while the job goes on.
    virtual void tipsWait(const QString &info) = 0;

    /// Set by the waiting side, read by the job.
    std::atomic_bool cancelled = false;
};

/// Unwinds a cancelled job: throws the integer -1, which `runJob` catches.
void throwIfCancelled(const JobProgress &progress);

/// `done` of `total` in whole percent; 100 for an empty job.
int percentOf(qint64 done, qint64 total);

/// Keeps a job that does millions of steps from reporting each one: a report is due about twenty
/// times a second, and for the last step.
class ProgressPace
{
public:
    explicit ProgressPace(qint64 totalSteps) : total(totalSteps) { sinceReport.start(); }
    /// Ask after each step; `done` counts from 1.
    bool isDue(qint64 done);

private:
    qint64 total;
    QElapsedTimer sinceReport;
};

/// Does `work` with each of `items`, asking for a cancel before each. Reports go out at a pace, in words as
/// `pattern` has it ("SMS: %1/%2", done and total); empty for none.
template <typename Items, typename Work>
void workThrough(const Items &items, JobProgress &progress, const QString &pattern, Work work)
{
    const qint64 total = items.size();
    ProgressPace pace(total);
    qint64 done = 0;
    for (const auto &item : items) {
        throwIfCancelled(progress);
        if (pace.isDue(++done)) {
            const QString words = pattern.isEmpty() ? QString() : pattern.arg(done).arg(total);
            progress.updateProgress({}, percentOf(done, total), words);
        }
        work(item);
    }
}

/// Logs a failure and tells `errorOccurred` of it.
void failJob(JobProgress &progress, const QString &err);

/// The one way a job ends: `work` returns the text for `succeed`, an exception goes to
/// `failJob`, a cancel says nothing.
template <typename Work>
void runJob(JobProgress &progress, Work work)
{
    try {
        progress.succeed(work());
    } catch (const std::exception &error) {
        failJob(progress, QString::fromUtf8(error.what()));
    } catch (int) {
        // Cancelled: whoever cancelled knows, and nobody is left to tell.
    }
}
