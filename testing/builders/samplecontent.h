#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// What a file of a sample holds, handed out block by block, so that a large one needs no memory.
struct SampleContent {
    using Sink = std::function<void(QByteArrayView)>;

    qint64 length = 0;
    std::function<void(const Sink &)> stream;
};

/// Writes a file and the folders above it. Throws std::runtime_error.
void writeSample(const QString &path, const SampleContent &content);

SampleContent sampleBytes(const QByteArray &bytes);
/// The file at `path`, read when the backup is written. Throws std::runtime_error if it can't be read.
SampleContent sampleFile(const QString &path);
/// `length` bytes of noise that `seed` decides.
SampleContent sampleNoise(qint64 length, quint64 seed);
