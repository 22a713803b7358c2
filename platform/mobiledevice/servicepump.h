#pragma once

#include "servicetls.h"

/// Turns an enciphered stream into a plain socket that the caller closes: one end of a socket pair. A
/// thread of its own carries the bytes between the other end and the phone until either side closes. -1 when
/// that can't be set up.
int pumpedSocket(std::unique_ptr<ServiceTls> phone);
