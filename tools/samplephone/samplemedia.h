#pragma once

#include "testing/builders/samplecontent.h"

/// A grey GIF of `size` x `size` pixels with two frames; `seed` decides the shades.
QByteArray sampleGif(int size, quint64 seed);

/// A voice message: a Core Audio file of half a second of noise.
QByteArray sampleVoice(quint64 seed);

/// A HEIC picture of 64 x 64 pixels, blue above and yellow below.
QByteArray sampleHeic();

/// What a file of this name holds: a picture or a voice that opens, or else noise. `seed` decides it.
SampleContent sampleMedia(const QString &fileName, quint64 seed);
