#pragma once

#include "app/jobprogress.h"

/// Progress of a job as one line that is written over, on standard error, and only when that is a
/// terminal. How the job ends is told by its result and its exceptions, not here.
class TerminalProgress final : public JobProgress
{
public:
    explicit TerminalProgress(bool quiet);
    ~TerminalProgress() override;

    void updateProgress(const QString &newStatus, int curProgress, const QString &progressText) override;
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}

    /// Takes the line off the terminal.
    void clear();

private:
    bool shown;
    bool lineStands = false;
    QString status;
    int percent = 0;
};
