#pragma once

#include <QString>

struct _MsgAttachment;

/// Path of an image of at most 120 by 120 pixels in the temporary folder, made of `localFile` when it
/// isn't there yet. The path is returned even if no image could be made: test for the file.
QString attachmentThumbnail(const _MsgAttachment &attachment);
