#pragma once

#include "testing/builders/samplerecords.h"

/// The guid of the message's attachment at `place`.
QString sampleAttachmentGuid(const SampleMessage &message, int place);

/// The body of a message since iOS 11. Each stretch of text and each U+FFFC is a part of its own; the
/// places stand for the attachments that people see, in order.
QByteArray sampleBody(const SampleMessage &message);

/// A body of words alone, as edits and deleted parts keep it.
QByteArray sampleBody(const QString &text, int part);

/// What `message_summary_info` tells of edited and unsent parts; null when there are none.
QByteArray sampleSummary(const SampleMessage &message);
