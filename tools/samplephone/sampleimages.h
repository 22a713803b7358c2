#pragma once

#include <QByteArray>

/// A grey JPEG of `size` x `size` squares of 8 pixels; `seed` decides the shades.
QByteArray sampleJpeg(int size, quint64 seed);

/// A grey PNG of `size` x `size` pixels; `seed` decides the shades.
QByteArray samplePng(int size, quint64 seed);
