#include "store/pictures/heifpicture.h"

#ifdef MARROWLIGHT_HEIF

#include "app/closer.h"

#include <QFile>
#include <QMutex>

#include <libheif/heif.h>

#include <memory>

namespace
{

using HeifContext = std::unique_ptr<heif_context, Closer<heif_context_free>>;
using HeifHandle = std::unique_ptr<heif_image_handle, Closer<heif_image_handle_release>>;
using HeifImage = std::unique_ptr<heif_image, Closer<heif_image_release>>;

constexpr qint64 mostHeifPixels = 64'000'000; // six bytes each while it is decoded
constexpr int longestSide = 16384;

bool isOk(const heif_error &error)
{
    return error.code == heif_error_Ok;
}

bool isWithin(const heif_image_handle *handle)
{
    return qint64(heif_image_handle_get_width(handle)) * heif_image_handle_get_height(handle) <=
           mostHeifPixels;
}

HeifHandle mainPicture(heif_context *context)
{
    heif_image_handle *handle = nullptr;
    if (!isOk(heif_context_get_primary_image_handle(context, &handle)))
        return nullptr;
    return HeifHandle(handle);
}

/// The small picture that the phone put beside the main one, where it is large enough for `box`.
HeifHandle smallPicture(const heif_image_handle *handle, const QSize &box)
{
    heif_item_id id = 0;
    heif_image_handle *small = nullptr;
    if (heif_image_handle_get_list_of_thumbnail_IDs(handle, &id, 1) != 1 ||
        !isOk(heif_image_handle_get_thumbnail(handle, id, &small)))
        return nullptr;
    HeifHandle owned(small);
    const bool isLarge = heif_image_handle_get_width(small) >= box.width() ||
                         heif_image_handle_get_height(small) >= box.height();
    return isLarge ? std::move(owned) : nullptr;
}

QImage decoded(const heif_image_handle *handle, const QSize &box)
{
    heif_image *raw = nullptr;
    if (!isWithin(handle) ||
        !isOk(heif_decode_image(handle, &raw, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr)))
        return {};
    const HeifImage image(raw);
    int stride = 0;
    const uint8_t *pixels = heif_image_get_plane_readonly(raw, heif_channel_interleaved, &stride);
    if (!pixels)
        return {};
    const QImage whole(pixels, heif_image_get_primary_width(raw), heif_image_get_primary_height(raw), stride,
                       QImage::Format_RGBA8888);
    if (whole.width() <= box.width() && whole.height() <= box.height())
        return whole.copy();
    return whole.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

bool canReadHeif()
{
    return true;
}

QImage readHeif(const QString &file, const QSize &box)
{
    static QMutex oneAtATime;
    const QMutexLocker lock(&oneAtATime);
    const HeifContext context(heif_context_alloc());
    heif_context_set_maximum_image_size_limit(context.get(), longestSide);
    if (!isOk(heif_context_read_from_file(context.get(), QFile::encodeName(file).constData(), nullptr)))
        return {};
    const HeifHandle picture = mainPicture(context.get());
    if (!picture)
        return {};
    const HeifHandle small = smallPicture(picture.get(), box);
    const QImage image = decoded(small ? small.get() : picture.get(), box);
    return image.isNull() && small ? decoded(picture.get(), box) : image;
}

#else

bool canReadHeif()
{
    return false;
}

QImage readHeif(const QString &, const QSize &)
{
    return {};
}

#endif
