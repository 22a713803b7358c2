#pragma once

#include "app/binaryplist.h"

// libplist parses a property list by recursion and without a limit on what shared objects unfold to.
// These look at the structure alone, so that a hostile list is refused before it costs stack or memory.

/// What the keys of dictionaries have to be: libplist ends the program when it lists one that is no text or
/// has a NUL in it. Looking up a name is safe with any.
enum class PlistKeys { Any, Listable };

/// True when the binary list is sound enough to walk, is not nested too deep, and does not unfold to
/// many times its own size. `bytes` starts with "bplist00".
[[nodiscard]] bool isBoundedBinaryPlist(QByteArrayView bytes, PlistKeys keys = PlistKeys::Any);

/// True when the XML list is not nested too deep. Says nothing about whether it is well-formed.
[[nodiscard]] bool isBoundedXmlPlist(QByteArrayView bytes);
