#pragma once

#include "testing/builders/samplefile.h"
#include "testing/builders/samplerandom.h"

#include <QList>

/// Files of a phone beside its messages and contacts: notes, calendar, voicemail, recordings, camera
/// roll, call history, applications, old shapes of message attachments.
QList<SampleFile> otherDomainFiles(SampleRandom &random);

/// `length` bytes of video among the message attachments, in files of 256 MiB at most.
QList<SampleFile> fillerFiles(qint64 length, quint64 seed);
