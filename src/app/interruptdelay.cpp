#include "app/interruptdelay.h"

#include <atomic>
#include <csignal>

namespace
{

std::atomic_int delays = 0;
std::atomic_int heldBack = 0; // a signal
static_assert(std::atomic_int::is_always_lock_free);

} // namespace

InterruptDelay::InterruptDelay() noexcept
{
    ++delays;
}

InterruptDelay::~InterruptDelay()
{
    if (--delays > 0)
        return;
    if (const int signal = heldBack.exchange(0); signal != 0)
        std::raise(signal);
}

bool InterruptDelay::holdsBack(int signal) noexcept
{
    if (delays.load() == 0)
        return false;
    heldBack = signal;
    return true;
}
