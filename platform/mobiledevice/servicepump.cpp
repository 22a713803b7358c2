#include "servicepump.h"

#include <array>
#include <memory>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

struct Disconnect {
    void operator()(idevice_connection_t connection) const noexcept { idevice_disconnect(connection); }
};
using Connection = std::unique_ptr<idevice_connection_private, Disconnect>;

// What one TLS record holds at most: with room for it, nothing stays behind in the cipher library where
// `poll` wouldn't see it.
using Buffer = std::array<char, 16384>;

int descriptorOf(const Connection &connection)
{
    int descriptor = -1;
    idevice_connection_get_fd(connection.get(), &descriptor);
    return descriptor;
}

bool sendAll(const Connection &phone, const char *bytes, uint32_t length)
{
    while (length > 0) {
        uint32_t sent = 0;
        if (idevice_connection_send(phone.get(), bytes, length, &sent) != IDEVICE_E_SUCCESS || sent == 0)
            return false;
        bytes += sent;
        length -= sent;
    }
    return true;
}

bool sendAll(int socket, const char *bytes, size_t length)
{
    while (length > 0) {
        const ssize_t sent = ::send(socket, bytes, length, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes += sent;
        length -= size_t(sent);
    }
    return true;
}

bool carryToPhone(int program, const Connection &phone, Buffer &buffer)
{
    const ssize_t received = ::recv(program, buffer.data(), buffer.size(), 0);
    return received > 0 && sendAll(phone, buffer.data(), uint32_t(received));
}

bool carryFromPhone(const Connection &phone, int program, Buffer &buffer)
{
    constexpr unsigned justNow = 1; // ms: what is there, without waiting for more
    uint32_t received = 0;
    const idevice_error_t result =
        idevice_connection_receive_timeout(phone.get(), buffer.data(), buffer.size(), &received, justNow);
    if (received > 0)
        return sendAll(program, buffer.data(), received);
    return result == IDEVICE_E_TIMEOUT;
}

void pump(Connection phone, int program)
{
    Buffer buffer;
    std::array<pollfd, 2> ends = {pollfd{program, POLLIN, 0}, pollfd{descriptorOf(phone), POLLIN, 0}};
    while (::poll(ends.data(), ends.size(), -1) >= 0) {
        if (ends[0].revents && !carryToPhone(program, phone, buffer))
            break;
        if (ends[1].revents && !carryFromPhone(phone, program, buffer))
            break;
    }
    ::close(program);
}

int pumpedSocket(Connection connection)
{
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0)
        return -1;
    std::thread(pump, std::move(connection), pair[1]).detach();
    return pair[0];
}

} // namespace

int serviceSocket(idevice_connection_t raw, bool isEnciphered)
{
    Connection connection(raw);
    if (!isEnciphered)
        return ::dup(descriptorOf(connection)); // the connection closes only its own
    if (idevice_connection_enable_ssl(connection.get()) != IDEVICE_E_SUCCESS)
        return -1;
    return pumpedSocket(std::move(connection));
}
