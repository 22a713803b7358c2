#pragma once

#include <functional>

// Bytes over the socket of a service. Times in milliseconds; 0 or less waits without limit. Nothing here
// throws: a short count tells.

inline constexpr int serviceTimeoutMs = 60'000;

/// Waits until the socket can be read or written. Above 0 when it can, 0 when time ran out, below 0 when
/// the socket is broken.
int socket_wait(int socket, int timeoutMs, bool forRead);

/// Sends once, without a second try for what didn't go in time. Returns the bytes that went.
int socket_send(int socket, const void *data, int length, int timeoutMs);

/// Receives until `length` bytes have come, the sender is gone, or `timeoutMs` pass without any. Returns the
/// bytes that came.
int socket_receive(int socket, void *data, int length, int timeoutMs);

void mobiledevice_close_socket(int socket);

/// The same, and asks `atTick` five times a second at least, which may throw to give up.
int socket_receive(int socket, void *data, int length, int timeoutMs, const std::function<void()> &atTick);

/// Ends the conversation: whoever waits for the socket, on any thread, finds it at its end.
void socket_hang_up(int socket);

/// Closes a service's socket on the way out.
class ServiceSocket
{
public:
    ServiceSocket() = default;
    explicit ServiceSocket(int descriptor) : value(descriptor) {}
    ServiceSocket(const ServiceSocket &) = delete;
    ServiceSocket &operator=(const ServiceSocket &) = delete;
    ~ServiceSocket() { close(); }

    int descriptor() const { return value; }
    /// Where a call that starts a service puts its socket.
    int *target() { return &value; }
    void close();

private:
    int value = 0; ///< 0 for none
};
