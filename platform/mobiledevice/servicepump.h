#pragma once

#include <libimobiledevice/libimobiledevice.h>

/// Turns a connection to a service into a plain socket that the caller closes, and takes `connection`
/// over. A stream that has to be enciphered is one end of a socket pair: a thread of its own carries the
/// bytes between the other end and the phone until either side closes. -1 when that can't be set up.
int serviceSocket(idevice_connection_t connection, bool isEnciphered);
