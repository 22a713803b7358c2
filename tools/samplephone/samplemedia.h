#pragma once

#include "testing/builders/samplecontent.h"

/// A grey JPEG of `size` x `size` squares of 8 pixels; `seed` decides the shades.
QByteArray sampleJpeg(int size, quint64 seed);

/// A grey PNG of `size` x `size` pixels; `seed` decides the shades.
QByteArray samplePng(int size, quint64 seed);

/// A GIF of 40 x 40 pixels with two frames.
QByteArray sampleGif();

/// A HEIC picture of 64 x 64 pixels, blue above and yellow below.
QByteArray sampleHeic();

/// What a file of this name holds: a picture or a voice that opens, or else noise. `seed` decides it.
SampleContent sampleMedia(const QString &fileName, quint64 seed);
