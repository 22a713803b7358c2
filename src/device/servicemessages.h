#pragma once

#include "device/cftype.h"

#include <QString>

#include <functional>

// Property lists over the socket of a service: four bytes of length, big-endian, then the list. Times in
// milliseconds.

/// Sends `message` in its binary or XML form. A message that has no such form isn't sent, and that is no
/// error. Throws `std::runtime_error` that quotes the message when it doesn't go out whole.
void mobiledevice_sendmsg(int socket, const CFType &message, bool binary, int timeoutMs);

/// Receives one message: 60 s for its length, `timeoutMs` for each piece of the rest. A body that is no
/// property list gives a null value. Throws `std::runtime_error` when it doesn't come whole; the text
/// quotes `lastSent`, the message that drew no answer, unless it is null. `atTick` is
/// asked five times a second meanwhile and may throw to give up.
CFType mobiledevice_recmsg(
    int socket, const CFType &lastSent, int timeoutMs, const std::function<void()> &atTick = [] {});

/// The XML form of a message.
QString messageText(const CFType &message);
