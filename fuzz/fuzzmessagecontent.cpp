#include "store/archives/protobuf.h"
#include "store/content/drawing.h"
#include "store/content/messagecontent.h"
#include "store/content/poll.h"
#include "store/content/sticker.h"
#include "store/content/styledtext.h"
#include "store/records/contenttext.h"

using namespace Qt::StringLiterals;

/// The input is a byte that picks an app, then the payload of its balloon; the same bytes are read as a
/// summary, a vote and a sticker's metadata.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const QStringList apps = {
        u"com.apple.messages.URLBalloonProvider"_s,
        u"com.apple.Handwriting.HandwritingProvider"_s,
        u"com.apple.DigitalTouchBalloonProvider"_s,
        u"com.apple.PassbookUIService.PeerPaymentMessagesExtension"_s,
        u"com.apple.SafetyMonitorApp.SafetyMonitorMessages"_s,
        u"com.apple.messages.Polls"_s,
        u"com.apple.icloud.apps.messages.business.extension"_s,
        u"org.example.app"_s,
    };
    if (size == 0)
        return 0;
    const QString &app = apps.at(data[0] % apps.size());
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, qsizetype(size) - 1);
    MessageContent content = readContent({app, bytes});
    countVotes(content, readVotes(bytes));
    contentText(content);
    if (const std::optional<Drawing> drawing = drawingOf(app, bytes))
        svgOf(*drawing);
    readTranslations(bytes);
    readSticker(bytes, bytes, {});
    stickerEffect(bytes);
    if (const std::optional<ProtobufMessage> message = ProtobufMessage::read(bytes))
        message->bytes(4);
    return 0;
}
