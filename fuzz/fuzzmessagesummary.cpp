#include "store/records/messagesummary.h"

/// The input is a `message_summary_info`: a property list with typed streams in it.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    mayTellOfChanges(bytes);
    messageSummaryOf(bytes);
    return 0;
}
