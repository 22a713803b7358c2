#pragma once

class JobProgress;

/// From now on Ctrl-C and a termination signal end the process with status 130: at once where nothing is
/// under way that has to be unwound, and otherwise by cancelling the job or after an `InterruptDelay`.
void installInterruptHandler();

/// While this lives, an interrupt cancels the job of `progress` instead of ending the process.
class InterruptScope
{
public:
    explicit InterruptScope(JobProgress &progress);
    InterruptScope(const InterruptScope &) = delete;
    InterruptScope &operator=(const InterruptScope &) = delete;
    ~InterruptScope();
};
