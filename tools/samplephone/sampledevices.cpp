#include "tools/samplephone/sampledevices.h"

using namespace Qt::StringLiterals;

namespace
{

struct Model {
    IosVersion version;
    const char16_t *productType;
    const char16_t *productName;
    const char16_t *productVersion;
    const char16_t *buildVersion;
};

constexpr Model models[] = {
    {IosVersion::Ios5, u"iPhone3,1", u"iPhone 4", u"5.1.1", u"9B206"},
    {IosVersion::Ios6, u"iPhone5,2", u"iPhone 5", u"6.1.4", u"10B350"},
    {IosVersion::Ios7, u"iPhone5,2", u"iPhone 5", u"7.1.2", u"11D257"},
    {IosVersion::Ios8, u"iPhone6,2", u"iPhone 5s", u"8.4.1", u"12H321"},
    {IosVersion::Ios11, u"iPhone9,3", u"iPhone 7", u"11.4.1", u"15G77"},
    {IosVersion::Ios13, u"iPhone11,8", u"iPhone XR", u"13.7", u"17H35"},
    {IosVersion::Ios16, u"iPhone14,5", u"iPhone 13", u"16.7.2", u"20H115"},
    {IosVersion::Ios18, u"iPhone16,1", u"iPhone 15 Pro", u"18.5", u"22F76"},
    {IosVersion::Ios26, u"iPhone17,3", u"iPhone 16", u"26.1", u"23B85"},
};

/// 40 hexadecimal digits, or 8 and 16 of them with a hyphen since the phones of 2018.
QString udidOf(IosVersion version, SampleRandom &random)
{
    const QString hex = QString::fromLatin1(random.bytes(20).toHex());
    return version >= IosVersion::Ios13
               ? u"00008"_s % hex.first(3).toUpper() % u"-"_s % hex.last(16).toUpper()
               : hex;
}

} // namespace

SampleDevice sampleDevice(IosVersion version, SampleRandom &random)
{
    SampleDevice device;
    device.udid = udidOf(version, random);
    for (const Model &model : models) {
        if (model.version != version)
            continue;
        device.productType = QString::fromUtf16(model.productType);
        device.productName = QString::fromUtf16(model.productName);
        device.productVersion = QString::fromUtf16(model.productVersion);
        device.buildVersion = QString::fromUtf16(model.buildVersion);
    }
    return device;
}
