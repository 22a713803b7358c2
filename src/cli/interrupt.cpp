#include "cli/interrupt.h"

#include "app/interruptdelay.h"
#include "app/jobprogress.h"
#include "cli/exitstatus.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace
{

std::atomic<std::atomic_bool *> cancelFlag = nullptr;
static_assert(std::atomic<std::atomic_bool *>::is_always_lock_free && std::atomic_bool::is_always_lock_free);

void onSignal(int signal)
{
    if (std::atomic_bool *flag = cancelFlag.load())
        flag->store(true);
    else if (!InterruptDelay::holdsBack(signal))
        std::_Exit(int(ExitStatus::Interrupted));
}

} // namespace

void installInterruptHandler()
{
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
#ifdef SIGHUP
    if (std::signal(SIGHUP, onSignal) == SIG_IGN) // started by nohup
        std::signal(SIGHUP, SIG_IGN);
#endif
}

InterruptScope::InterruptScope(JobProgress &progress)
{
    cancelFlag = &progress.cancelled;
}

InterruptScope::~InterruptScope()
{
    cancelFlag = nullptr;
}
