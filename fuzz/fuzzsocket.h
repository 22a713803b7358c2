#pragma once

#include "device/mobiledevice.h"
#include "device/servicesocket.h"

#include <QCoreApplication>

#include <cstdlib>

#include <sys/socket.h>

/// The socket of a service on which a phone has said these bytes and gone. Inputs that don't fit into the
/// system's buffer are cut.
inline int socketWith(const unsigned char *data, size_t size)
{
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0)
        std::abort();
    ::send(pair[0], data, size, MSG_DONTWAIT);
    mobiledevice_close_socket(pair[0]);
    return pair[1];
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication application(*argc, *argv);
    QString error;
    if (!mobiledevice_load_frameworks(error))
        std::abort();
    return 0;
}
