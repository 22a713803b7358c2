#include "store/archives/typedstream.h"
#include "store/content/styledtext.h"

/// The input is the body of a message: a typed stream with archives of data detectors in it.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), qsizetype(size));
    mayHaveStyles(body);
    const std::optional<TypedStreamText> text = textOfTypedStream(body);
    for (const StyledRun &run : styledRuns(text ? text->text : QString(), body))
        run.isPlain();
    return 0;
}
