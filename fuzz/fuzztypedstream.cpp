#include "store/archives/typedstream.h"

/// The input is a typed stream: the body of a message.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    textOfTypedStream(QByteArrayView(data, qsizetype(size)));
    runsOfTypedStream(QByteArrayView(data, qsizetype(size)));
    return 0;
}
