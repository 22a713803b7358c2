#include "device/clients/devicelink.h"
#include "device/servicemessages.h"
#include "fuzzsocket.h"

using namespace Qt::StringLiterals;

namespace
{

void readAll(const CFType &value, int depth)
{
    value.toText();
    value.toBool(false);
    value.toDouble(0);
    value.toDateTime(u"Europe/Madrid"_s);
    value.toPropertyListBytes(kCFPropertyListBinaryFormat_v1_0);
    for (long i = 0; i < value.arrayCount() && depth > 0; ++i)
        readAll(value.arrayValue(i), depth - 1);
    for (const CFType &key : value.dictionaryKeys())
        readAll(value.dictionaryValue(key), depth - 1);
}

} // namespace

/// The input is what a service says: messages with their lengths. They are read as they stand, then as
/// messages of the device link.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const CFType none(nullptr, true);
    for (const bool isLink : {false, true}) {
        const ServiceSocket socket(socketWith(data, size));
        try {
            while (true)
                readAll(isLink ? mobiledevice_link_sc_recv_process_message(socket.descriptor(), none, nullptr)
                               : mobiledevice_recmsg(socket.descriptor(), none, 1000),
                        4);
        } catch (const std::exception &) {
            // The end of what came, or a message that is none.
        }
    }
    return 0;
}
