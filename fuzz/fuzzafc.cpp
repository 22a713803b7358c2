#include "device/clients/afcconnection.h"
#include "device/clients/afcpackets.h"
#include "fuzzsocket.h"

using namespace Qt::StringLiterals;

/// The input is what a phone answers over Apple File Conduit: packets, then pieces of a file.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const ServiceSocket socket(socketWith(data, size));
    try {
        while (true)
            receiveAfc(socket.descriptor(), AfcOperation::OpenFile);
    } catch (const std::exception &) {
        // The end of what came, or a packet that is none.
    }
    const ServiceSocket again(socketWith(data, size));
    AfcFile file{again.descriptor(), 1};
    char content[100];
    file.read(content, sizeof content);
    return 0;
}
