#pragma once

#include <cstdint>

/// What the phone library tells its subscriber about a phone that came or went, in its own layout.
struct DeviceNotificationInfo {
    void *device; ///< opaque; a phone goes with the one it came with, and may come back with another
    std::uint32_t message;
    void *subscription;
};

inline constexpr std::uint32_t deviceArrived = 1;
inline constexpr std::uint32_t deviceRemoved = 2;
inline constexpr std::uint32_t devicePaired = 0x100; ///< trusts this computer; of our library alone

/// Runs on a thread of the library. `context` is what the subscriber handed in.
using DeviceNotificationCallback = void (*)(DeviceNotificationInfo *info, void *context);
