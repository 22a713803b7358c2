#include "samplecontent.h"

#include "samplerandom.h"

#include <QFile>

#include <stdexcept>

namespace
{

constexpr qint64 blockLength = 1 << 20;

void openForReading(QFile &file)
{
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(
            QString(file.fileName() + QStringLiteral(": ") + file.errorString()).toStdString());
}

} // namespace

SampleContent sampleBytes(const QByteArray &bytes)
{
    return {bytes.size(), [bytes](const SampleContent::Sink &sink) { sink(bytes); }};
}

SampleContent sampleFile(const QString &path)
{
    QFile source(path);
    openForReading(source);
    return {source.size(), [path](const SampleContent::Sink &sink) {
                QFile file(path);
                openForReading(file);
                while (!file.atEnd())
                    sink(file.read(blockLength));
            }};
}

SampleContent sampleNoise(qint64 length, quint64 seed)
{
    return {length, [length, seed](const SampleContent::Sink &sink) {
                SampleRandom random(seed);
                for (qint64 done = 0; done < length; done += blockLength)
                    sink(random.bytes(qMin(blockLength, length - done)));
            }};
}
