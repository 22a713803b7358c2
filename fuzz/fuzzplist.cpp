#include "app/plistvalue.h"

using namespace Qt::StringLiterals;

namespace
{

void readAll(const PlistValue &value)
{
    value.toBool();
    value.toInt();
    value.toString();
    value.toByteArray();
    value.toDateTime();
    for (unsigned i = 0; value.isArray() && i < value.size(); ++i)
        readAll(value.at(i));
}

} // namespace

/// The input is a property list, binary or XML.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const PlistValue root = PlistValue::parse(bytes, true);
    readAll(root);
    for (const QString &key : {u"Lockdown"_s, u"Date"_s, u"IsEncrypted"_s, u"BackupKeyBag"_s})
        readAll(root.value(key));
    readAll(root.value(u"Lockdown"_s).value(u"UniqueDeviceID"_s));
    return 0;
}
