#pragma once

#include <QtGlobal>

/// While one lives, something lies on the disk that must not stay there: a signal that would end the program
/// waits until the last one goes.
class InterruptDelay
{
public:
    InterruptDelay() noexcept;
    ~InterruptDelay();
    Q_DISABLE_COPY_MOVE(InterruptDelay)

    /// For a signal handler that is about to end the program: true when `signal` has to wait. It is raised
    /// again.
    static bool holdsBack(int signal) noexcept;
};
