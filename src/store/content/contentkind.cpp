#include "store/content/contentkind.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

struct App {
    QLatin1StringView identifier;
    ContentKind kind;
};

constexpr std::array apps = {
    App{"com.apple.messages.URLBalloonProvider"_L1, ContentKind::Link},
    App{"com.apple.Handwriting.HandwritingProvider"_L1, ContentKind::Handwriting},
    App{"com.apple.DigitalTouchBalloonProvider"_L1, ContentKind::DigitalTouch},
    App{"com.apple.PassbookUIService.PeerPaymentMessagesExtension"_L1, ContentKind::Payment},
    App{"com.apple.ActivityMessagesApp.MessagesExtension"_L1, ContentKind::Fitness},
    App{"com.apple.mobileslideshow.PhotosMessagesApp"_L1, ContentKind::Photos},
    App{"com.apple.SafetyMonitorApp.SafetyMonitorMessages"_L1, ContentKind::CheckIn},
    App{"com.apple.findmy.FindMyMessagesApp"_L1, ContentKind::Location},
    App{"com.apple.messages.Polls"_L1, ContentKind::Poll},
    App{"com.apple.icloud.apps.messages.business.extension"_L1, ContentKind::Business},
    App{"com.apple.PaperKit.MessagesDrawingBoard"_L1, ContentKind::DrawingBoard},
};

struct Name {
    ContentKind kind;
    QLatin1StringView name;
};

constexpr std::array names = {
    Name{ContentKind::App, "app"_L1},
    Name{ContentKind::Link, "link"_L1},
    Name{ContentKind::Collaboration, "collaboration"_L1},
    Name{ContentKind::Song, "song"_L1},
    Name{ContentKind::Media, "media"_L1},
    Name{ContentKind::Software, "app_store"_L1},
    Name{ContentKind::Place, "place"_L1},
    Name{ContentKind::Payment, "payment"_L1},
    Name{ContentKind::CheckIn, "check_in"_L1},
    Name{ContentKind::Location, "location"_L1},
    Name{ContentKind::Photos, "photos"_L1},
    Name{ContentKind::Fitness, "fitness"_L1},
    Name{ContentKind::QuickReply, "quick_reply"_L1},
    Name{ContentKind::ListPicker, "list_picker"_L1},
    Name{ContentKind::Form, "form"_L1},
    Name{ContentKind::Business, "business"_L1},
    Name{ContentKind::Poll, "poll"_L1},
    Name{ContentKind::Vote, "vote"_L1},
    Name{ContentKind::Handwriting, "handwriting"_L1},
    Name{ContentKind::DigitalTouch, "digital_touch"_L1},
    Name{ContentKind::DrawingBoard, "drawing_board"_L1},
};

} // namespace

QString contentKindName(ContentKind kind)
{
    const auto *found =
        std::find_if(names.begin(), names.end(), [&](const Name &name) { return name.kind == kind; });
    return found == names.end() ? QString() : QString(found->name);
}

ContentKind balloonKind(const QString &balloon_bundle_id)
{
    if (balloon_bundle_id.isEmpty())
        return ContentKind::None;
    const QString app = balloonApp(balloon_bundle_id);
    const auto *found =
        std::find_if(apps.begin(), apps.end(), [&](const App &known) { return app == known.identifier; });
    return found == apps.end() ? ContentKind::App : found->kind;
}

QString balloonApp(const QString &balloon_bundle_id)
{
    return balloon_bundle_id.sliced(balloon_bundle_id.lastIndexOf(u':') + 1);
}
