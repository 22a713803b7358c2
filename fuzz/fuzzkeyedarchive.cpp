#include "store/archives/keyedarchive.h"

/// The input is a property list of either form, mostly an archive of NSKeyedArchiver.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QVariant tree = readPlistTree(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    textAt(tree, u"userInfo/caption");
    return 0;
}
