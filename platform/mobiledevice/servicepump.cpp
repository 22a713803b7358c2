#include "servicepump.h"

#include <array>
#include <cerrno>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using Buffer = std::array<char, 64 * 1024>;

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

bool carryToPhone(int program, ServiceTls &phone, Buffer &buffer)
{
    const ssize_t received = ::recv(program, buffer.data(), buffer.size(), 0);
    return received > 0 && phone.write(buffer.data(), size_t(received));
}

/// All that is there: what the cipher library has taken in already, `poll` doesn't see.
bool carryFromPhone(ServiceTls &phone, int program, Buffer &buffer)
{
    while (true) {
        const ssize_t received = phone.read(buffer.data(), buffer.size());
        if (received <= 0)
            return received == 0;
        if (!sendAll(program, buffer.data(), size_t(received)))
            return false;
    }
}

void pump(const std::unique_ptr<ServiceTls> &phone, int program)
{
    Buffer buffer;
    std::array<pollfd, 2> ends = {pollfd{program, POLLIN, 0}, pollfd{phone->descriptor(), POLLIN, 0}};
    bool isOpen = carryFromPhone(*phone, program, buffer);
    while (isOpen) {
        ends[0].revents = 0; // a signal that ends the wait leaves it as it was
        isOpen = ::poll(ends.data(), ends.size(), -1) >= 0 || errno == EINTR;
        if (isOpen && ends[0].revents)
            isOpen = carryToPhone(program, *phone, buffer);
        if (isOpen)
            isOpen = carryFromPhone(*phone, program, buffer);
    }
    ::close(program);
}

} // namespace

int pumpedSocket(std::unique_ptr<ServiceTls> phone)
{
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return -1;
    std::thread([phone = std::move(phone), end = pair[1]] { pump(phone, end); }).detach();
    return pair[0];
}
