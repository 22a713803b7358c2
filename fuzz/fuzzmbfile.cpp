#include "backup/mbfile.h"

/// The input is what a list of files keeps of one: a keyed archive.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<MbFile> file = readMbFile(bytes);
    if (!file)
        return 0;
    for (const QByteArrayView view : {file->encryptionKey, file->digest}) {
        const bool isInside =
            view.isEmpty() || (view.data() >= bytes.constData() &&
                               view.data() + view.size() <= bytes.constData() + bytes.size());
        if (!isInside)
            abort();
    }
    return 0;
}
