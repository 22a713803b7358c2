#pragma once

#include <QSize>
#include <QString>

struct _MsgAttachment;
struct _MsgMessage;

/// Room that a picture takes in a conversation, in pixels of the page. Its height is always taken, so that
/// nothing moves when the picture comes.
QSize pictureFrame(const _MsgAttachment &attachment);

/// The HTML of a message's attachments in a conversation view, empty when it has none: pictures as images of
/// "thumbnail:" and their rowid, all with name and size and, where the file is at hand, a link to it.
QString attachmentsHtml(const _MsgMessage &message);
