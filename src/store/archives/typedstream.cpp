#include "store/archives/typedstream.h"

#include "store/archives/typedstreamwalk.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

/// What stands before the text in nearly every message, byte for byte: an attributed string whose string
/// comes first. Its class is the mutable or the plain one.
std::array<QByteArray, 2> usualHeads()
{
    const QByteArray begin =
        QByteArray::fromHex("040b") + "streamtyped" + QByteArray::fromHex("81e80384014084");
    const QByteArray attributed = QByteArray::fromHex("848412") + "NSAttributedString" + '\0';
    const QByteArray object = QByteArray::fromHex("848408") + "NSObject" + QByteArray::fromHex("008592");
    const QByteArray string = QByteArray::fromHex("848408") + "NSString" + QByteArray::fromHex("01");
    const QByteArray bytesFollow = QByteArray::fromHex("84012b");
    return {begin + attributed + object + char(TagNew) + string + char(0x94) + bytesFollow,
            begin + QByteArray::fromHex("848419") + "NSMutableAttributedString" + '\0' + attributed + object +
                char(TagNew) + QByteArray::fromHex("84840f") + "NSMutableString" + QByteArray::fromHex("01") +
                string + char(0x95) + bytesFollow};
}

} // namespace

std::optional<TypedStreamText> textOfTypedStream(QByteArrayView stream)
{
    static const std::array<QByteArray, 2> heads = usualHeads();
    for (const QByteArray &head : heads) {
        if (stream.startsWith(head)) {
            ByteCursor bytes(stream.sliced(head.size()));
            return takeTypedStreamText(bytes);
        }
    }
    return TypedStreamWalk(stream).text();
}

QList<TypedStreamRun> runsOfTypedStream(QByteArrayView stream)
{
    return TypedStreamWalk(stream).runs();
}

QList<TypedStreamAttachment> attachmentsOfTypedStream(QByteArrayView stream)
{
    QList<TypedStreamAttachment> places;
    for (const TypedStreamRun &run : runsOfTypedStream(stream)) {
        const QString guid = run.attributes.value(u"__kIMFileTransferGUIDAttributeName"_s).toString();
        if (!guid.isEmpty())
            places.append({run.at, guid, run.attributes.contains(u"__kIMEmojiImageAttributeName"_s)});
    }
    return places;
}
