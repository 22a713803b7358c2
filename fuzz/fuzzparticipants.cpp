// Sends arbitrary bytes through the participants list of iOS 5 and the property list below it.
#include "app/plistvalue.h"
#include "store/readers/participants.h"

namespace
{

// Touches every entry in the way of its kind, so that a bad pointer in the document is followed.
qsizetype readAll(const PlistValue &value, int depth = 0)
{
    qsizetype touched = value.toString().size() + value.toByteArray().size() + value.toInt() % 7 +
                        value.toBool() + value.toDateTime().isValid();
    for (unsigned i = 0; value.isArray() && i < value.size() && depth < 200; ++i)
        touched += readAll(value.at(i), depth + 1);
    for (const QString &key : {QString(), QStringLiteral("a"), QStringLiteral("Lockdown")})
        touched += value.value(key).toString().size();
    return touched;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    readAll(PlistValue::parse(bytes));
    participantsOf(bytes);
    return 0;
}
