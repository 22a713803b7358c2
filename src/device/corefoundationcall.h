#pragma once

#include "device/cftypes.h"
#include "device/mobiledevice.h"

inline constexpr CFTypeRef anyAllocator = nullptr;

/// Calls a function of the "CoreFoundation" library.
template <typename Signature, typename... Arguments>
auto cf(const char *name, Arguments... arguments)
{
    return callResolved<Signature>(corefoundation_resolve, name, arguments...);
}
