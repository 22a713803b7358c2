#pragma once

#include "store/content/contentkind.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

/// Something that can be chosen in a poll or a business message, or has been answered in a form.
struct ContentChoice {
    QString id;
    QString section; ///< heading of those that belong together; may be empty
    QString text;
    QString detail;  ///< a second line; the answers to a question of a form
    QString creator; ///< address of who added an option to a poll
    bool isChosen = false;
    QStringList voters; ///< addresses, or names once they are known
};

/// A picture that goes with the content.
struct ContentPicture {
    QByteArray bytes; ///< empty when it is one of the message's files
    QString mime_type;
    int hiddenAttachment = -1; ///< which of the attachments that the phone doesn't show, by rowid from 0
};

/// What the balloon of a message holds, in plain values. Texts come from others: whoever shows them
/// escapes them; they are bounded in length and have no control characters but the line feed. What isn't
/// told is empty.
struct MessageContent {
    ContentKind kind = ContentKind::None;
    QString bundleId;       ///< of the app, without what the phone puts before it
    bool isDamaged = false; ///< nothing could be read but the kind

    QString appName;  ///< as the sender's phone calls it
    QString words;    ///< the one line that the sender's phone wrote, in its language
    QString title;    ///< of a page, a song, a place, a shared document; a poll's question; text on a picture
    QString subtitle; ///< artist of a song, of an app what it is; further text on a picture
    QString album;
    QString caption; ///< left column of the card
    QString subcaption;
    QString trailingCaption; ///< right column
    QString trailingSubcaption;
    QString summary; ///< of a page; lines of a song
    QString site;
    QString url;
    QList<ContentPicture> pictures; ///< the best one first

    QString address; ///< of a place
    std::optional<double> latitude;
    std::optional<double> longitude;

    QString amount; ///< of a payment, with its currency as it was written
    QString state;  ///< of a payment "sent", "requested", "recurring" or "declined", where the words tell

    QDateTime date;       ///< when a check-in's notice was sent, when something was shared
    QDateTime expectedBy; ///< of a check-in
    QDateTime wasExpectedAt;

    QList<ContentChoice> choices; ///< options of a poll, items of a list, answers of a form
    bool isAnswered = false;      ///< somebody has chosen

    int strokes = 0; ///< of a drawing: see drawingOf()
    int beatsPerMinute = 0;
    QString drawingForm; ///< of Digital Touch: "tap", "sketch", "kiss", "heartbeat", "fireball", "media"
};

/// The columns of a row of `message` that its content is in.
struct ContentSource {
    QString balloon_bundle_id;
    QByteArray payload_data;
    bool isLink = false; ///< a body that is one link tells so where there is no balloon
};

/// Decodes the content; its kind is `None` where there is none. Never throws: of what can't be read the
/// kind stays, and the log says so.
MessageContent readContent(const ContentSource &source);
