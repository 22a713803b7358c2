#pragma once

#include <QString>

/// What a message is beside its text.
enum class ContentKind {
    None,
    App, ///< of an app that has no kind of its own
    Link,
    Collaboration,
    Song,
    Media, ///< an album, a film, a book and the like
    Software,
    Place,
    Payment,
    CheckIn,
    Location,
    Photos,
    Fitness,
    QuickReply,
    ListPicker,
    Form,
    Business,
    Poll,
    Vote,
    Handwriting,
    DigitalTouch,
    DrawingBoard
};

/// A word for data, such as "check_in".
QString contentKindName(ContentKind kind);

/// The kind that a balloon belongs to by its app, without a look into it. A link may turn out to be a song
/// or a place, a business message a list.
ContentKind balloonKind(const QString &balloon_bundle_id);

/// The app of a balloon: what stands behind the last ':' of its identifier.
QString balloonApp(const QString &balloon_bundle_id);
