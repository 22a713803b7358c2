#pragma once

#include "device/cftype.h"

#include <QString>

// The device link protocol of several services: messages are arrays whose first element is a name that
// begins with "DL". Each send and receive has 60 s. All throw `std::runtime_error`; the socket stays open.

inline constexpr auto emptyParameter = "___EmptyParameterString___";

/// Opens the link: the phone offers its version, we agree, it says that it is ready.
void mobiledevice_link_version_exchange(int socket);

/// Ends the link; an empty `message` goes as its placeholder.
void mobiledevice_link_disconnect(int socket, const QString &message);

/// Wraps `message` and sends it. Returns a copy of what went out, to quote when no answer comes.
CFType mobiledevice_link_send_process_message(int socket, const CFType &message);

/// Receives any link message into `message` and its name into `name`. The spelling is the protocol
/// layer's old one.
void mobiledevice_link_sc_recv_dlmessaeg(int socket, CFType &message, QString &name, const CFType &lastSent);

/// The same without a message to quote.
void mobiledevice_link_recv(int socket, CFType &message, QString &name);

/// Receives a wrapped message and returns a copy of what was in it. `whole`, unless null, gets the array.
CFType mobiledevice_link_sc_recv_process_message(int socket, const CFType &lastSent, CFType *whole);

/// An array of these elements.
CFType messageArray(const QList<CFType> &elements);
