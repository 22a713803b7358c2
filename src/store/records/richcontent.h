#pragma once

#include "store/content/drawing.h"
#include "store/content/messagecontent.h"
#include "store/content/styledtext.h"
#include "store/records/messagerecords.h"

// What the archives of a message hold. All of it is decoded anew by each call: ask when it is shown, not
// when a source is read. Nothing throws; what can't be read is missing.

/// Whether the message has a balloon, or what else content is in; without a look into it.
bool hasContent(const _MsgMessage &message);

/// What its balloon holds, as far as its own row tells: of a poll without votes.
MessageContent ownContent(const _MsgMessage &message);

/// The same; a poll as it stands at the end, with options that were added later, and who voted, by name.
MessageContent contentOf(const _MsgMessage &message);

/// The drawing of a handwritten message or of Digital Touch.
std::optional<Drawing> drawingOf(const _MsgMessage &message);

/// The file of a picture that lies among the message's hidden attachments; null when there is none.
const _MsgAttachment *pictureFile(const _MsgMessage &message, const ContentPicture &picture);

/// Looks, links, mentions and transcripts of stretches of the text.
QList<StyledRun> styledRuns(const _MsgMessage &message);

/// The words of the voice messages among its attachments, in the order of the text.
QStringList transcriptsOf(const _MsgMessage &message);

QList<Translation> translationsOf(const _MsgMessage &message);
