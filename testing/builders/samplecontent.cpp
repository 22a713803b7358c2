#include "testing/builders/samplecontent.h"

#include "testing/builders/samplerandom.h"

#include <QDir>
#include <QFile>

#include <stdexcept>

namespace
{

constexpr qint64 blockLength = 1 << 20;

void require(bool isDone, const QFile &file)
{
    if (!isDone)
        throw std::runtime_error(
            QString(file.fileName() + QStringLiteral(": ") + file.errorString()).toStdString());
}

} // namespace

void writeSample(const QString &path, const SampleContent &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    require(file.open(QIODevice::WriteOnly), file);
    content.stream([&file](QByteArrayView block) {
        require(file.write(block.data(), block.size()) == block.size(), file);
    });
    require(file.flush(), file);
}

SampleContent sampleBytes(const QByteArray &bytes)
{
    return {bytes.size(), [bytes](const SampleContent::Sink &sink) { sink(bytes); }};
}

SampleContent sampleFile(const QString &path)
{
    QFile source(path);
    require(source.open(QIODevice::ReadOnly), source);
    return {source.size(), [path](const SampleContent::Sink &sink) {
                QFile file(path);
                require(file.open(QIODevice::ReadOnly), file);
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
