#include "tools/samplephone/sampledevices.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

struct Model {
    IosVersion version;
    QLatin1StringView productType;
    QLatin1StringView productName;
    QLatin1StringView productVersion;
    QLatin1StringView buildVersion;
};

constexpr Model models[] = {
    {IosVersion::Ios5, "iPhone3,1"_L1, "iPhone 4"_L1, "5.1.1"_L1, "9B206"_L1},
    {IosVersion::Ios6, "iPhone5,2"_L1, "iPhone 5"_L1, "6.1.4"_L1, "10B350"_L1},
    {IosVersion::Ios7, "iPhone5,2"_L1, "iPhone 5"_L1, "7.1.2"_L1, "11D257"_L1},
    {IosVersion::Ios8, "iPhone6,2"_L1, "iPhone 5s"_L1, "8.4.1"_L1, "12H321"_L1},
    {IosVersion::Ios11, "iPhone9,3"_L1, "iPhone 7"_L1, "11.4.1"_L1, "15G77"_L1},
    {IosVersion::Ios13, "iPhone11,8"_L1, "iPhone XR"_L1, "13.7"_L1, "17H35"_L1},
    {IosVersion::Ios16, "iPhone14,5"_L1, "iPhone 13"_L1, "16.7.2"_L1, "20H115"_L1},
    {IosVersion::Ios18, "iPhone16,1"_L1, "iPhone 15 Pro"_L1, "18.5"_L1, "22F76"_L1},
    {IosVersion::Ios26, "iPhone17,3"_L1, "iPhone 16"_L1, "26.1"_L1, "23B85"_L1},
};

} // namespace

SampleDevice sampleDevice(IosVersion version, SampleRandom &random)
{
    const QString hex = QString::fromLatin1(random.bytes(20).toHex());
    const Model *model = std::ranges::find(models, version, &Model::version);
    SampleDevice device;
    // 40 hexadecimal digits, or 8 and 16 of them with a hyphen since the phones of 2018.
    device.udid = version < IosVersion::Ios13
                      ? hex
                      : QString(u"00008"_s % hex.first(3).toUpper() % u"-"_s % hex.last(16).toUpper());
    device.productType = model->productType;
    device.productName = model->productName;
    device.productVersion = model->productVersion;
    device.buildVersion = model->buildVersion;
    return device;
}
