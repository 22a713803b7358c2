#pragma once

#include "device/cftypes.h"

// The names of this library that its neighbour for phones calls.

extern "C" {
void CFRelease(CFTypeRef ref);
CFIndex CFStringGetLength(CFTypeRef ref);
CFIndex CFStringGetBytes(CFTypeRef ref, CFRange range, std::uint32_t encoding, std::uint8_t lossByte,
                         CFBoolean8 isExternal, std::uint8_t *buffer, CFIndex room, CFIndex *used);
CFTypeRef CFStringCreateWithBytes(CFTypeRef allocator, const std::uint8_t *bytes, CFIndex length,
                                  std::uint32_t encoding, CFBoolean8 isExternal);
CFTypeRef CFDataCreate(CFTypeRef allocator, const std::uint8_t *bytes, CFIndex length);
CFIndex CFDataGetLength(CFTypeRef ref);
void CFDataGetBytes(CFTypeRef ref, CFRange range, std::uint8_t *buffer);
CFTypeRef CFPropertyListCreateData(CFTypeRef allocator, CFTypeRef ref, CFIndex format, CFOptionFlags options,
                                   CFTypeRef *error);
CFTypeRef CFPropertyListCreateWithData(CFTypeRef allocator, CFTypeRef data, CFOptionFlags options,
                                       CFIndex *format, CFTypeRef *error);
}
