#include "device/servicesocket.h"

#include <QtGlobal>

#include <algorithm>
#include <utility>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#endif

namespace
{

#ifdef Q_OS_WIN
constexpr int sendFlags = 0;
using Poll = WSAPOLLFD;

int pollOne(Poll &entry, int timeoutMs)
{
    return WSAPoll(&entry, 1, timeoutMs);
}

constexpr int bothWays = SD_BOTH;
using SendingTime = DWORD;

SendingTime sendingTime(int timeoutMs)
{
    return DWORD(timeoutMs);
}

void closeDescriptor(int socket)
{
    closesocket(SOCKET(socket));
}
#else
constexpr int sendFlags = MSG_NOSIGNAL; // a phone that is pulled is no reason to end the program
using Poll = pollfd;

int pollOne(Poll &entry, int timeoutMs)
{
    return ::poll(&entry, 1, timeoutMs);
}

constexpr int bothWays = SHUT_RDWR;
using SendingTime = timeval;

SendingTime sendingTime(int timeoutMs)
{
    return {timeoutMs / 1000, timeoutMs % 1000 * 1000};
}

void closeDescriptor(int socket)
{
    ::close(socket);
}
#endif

constexpr int tickMs = 200;
constexpr int surelyFits = 1024; // bytes that a socket has room for when it has any

/// Room for some bytes is no room for all: without this, `send` waits for the rest without limit.
void limitSending(int socket, int timeoutMs)
{
    const SendingTime limit = sendingTime(std::max(timeoutMs, 0));
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char *>(&limit), sizeof limit);
}

} // namespace

// `poll` and not `select`, which writes past its set when a program has many files open.
int socket_wait(int socket, int timeoutMs, bool forRead)
{
    Poll entry = {};
    entry.fd = decltype(entry.fd)(socket);
    entry.events = forRead ? POLLIN : POLLOUT;
    return pollOne(entry, timeoutMs > 0 ? timeoutMs : -1);
}

int socket_send(int socket, const void *data, int length, int timeoutMs)
{
    if (length < 1 || socket_wait(socket, timeoutMs, false) <= 0)
        return 0;
    if (length > surelyFits)
        limitSending(socket, timeoutMs);
    const auto sent = ::send(socket, static_cast<const char *>(data), size_t(length), sendFlags);
    return sent < 0 ? 0 : int(sent);
}

int socket_receive(int socket, void *data, int length, int timeoutMs)
{
    int received = 0;
    while (received < length && socket_wait(socket, timeoutMs, true) > 0) {
        char *const target = static_cast<char *>(data) + received;
        const auto count = ::recv(socket, target, size_t(length - received), 0);
        if (count < 1)
            break;
        received += int(count);
    }
    return received;
}

int socket_receive(int socket, void *data, int length, int timeoutMs, const std::function<void()> &atTick)
{
    int received = 0;
    int silentMs = 0;
    const bool isLimited = timeoutMs > 0;
    while (received < length && (!isLimited || silentMs < timeoutMs)) {
        atTick();
        const int ready = socket_wait(socket, isLimited ? std::min(tickMs, timeoutMs) : tickMs, true);
        if (ready == 0) {
            silentMs += tickMs;
            continue;
        }
        char *const target = static_cast<char *>(data) + received;
        const auto count = ready < 0 ? 0 : ::recv(socket, target, size_t(length - received), 0);
        if (count < 1)
            break;
        received += int(count);
        silentMs = 0;
    }
    return received;
}

void mobiledevice_close_socket(int socket)
{
    closeDescriptor(socket);
}

void socket_hang_up(int socket)
{
    ::shutdown(socket, bothWays);
}

void ServiceSocket::close()
{
    if (value > 0)
        mobiledevice_close_socket(std::exchange(value, 0));
}
