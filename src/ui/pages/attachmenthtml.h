#pragma once

#include <QList>
#include <QSize>
#include <QString>

struct _MsgAttachment;

/// Room that a picture takes in a conversation, in pixels of the page. Its height is always taken, so that
/// nothing moves when the picture comes.
QSize pictureFrame(const _MsgAttachment &attachment);

/// The HTML of attachments in a conversation view, empty when there are none: pictures as images of
/// "thumbnail:" and their rowid, all with name and size and, where the file is at hand, a link to it.
QString attachmentsHtml(const QList<_MsgAttachment *> &shown);

/// The picture of an attachment, which leads to its file; empty when it is none that can be shown.
QString pictureHtml(const _MsgAttachment &attachment);
