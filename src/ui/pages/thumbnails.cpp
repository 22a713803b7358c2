#include "ui/pages/thumbnails.h"

#include <algorithm>

namespace
{

constexpr qsizetype mostMemory = 64 * 1024 * 1024; // bytes; a page of 50 pictures takes half of it
constexpr qint64 mostOnDisk = 512 * 1024 * 1024;   // bytes
constexpr int readers = 2;

} // namespace

Thumbnails::Thumbnails(QObject *parent) : QObject(parent), known(mostMemory)
{
    threads.setMaxThreadCount(readers);
    threads.setThreadPriority(QThread::LowPriority);
    threads.start([kept = store] { kept.prune(mostOnDisk); });
}

Thumbnails::~Thumbnails()
{
    threads.clear();
    threads.waitForDone();
}

std::optional<QImage> Thumbnails::thumbnail(const QString &file)
{
    if (const QImage *image = known.object(file))
        return *image;
    if (!waiting.contains(file)) {
        waiting.insert(file);
        threads.start([this, kept = store, file] {
            const QImage image = kept.thumbnail(file);
            QMetaObject::invokeMethod(
                this, [this, file, image] { add(file, image); }, Qt::QueuedConnection);
        });
    }
    return std::nullopt;
}

void Thumbnails::forgetWaiting()
{
    threads.clear();
    waiting.clear();
}

void Thumbnails::add(const QString &file, const QImage &image)
{
    waiting.remove(file);
    known.insert(file, new QImage(image), std::max<qsizetype>(image.sizeInBytes(), 1));
    Q_EMIT ready(file);
}
