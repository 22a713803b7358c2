#include "store/pictures/pictureformat.h"

#include <QFile>

#include <array>
#include <string_view>

using namespace std::string_view_literals;

namespace
{

struct Signature {
    std::string_view bytes;
    size_t offset;
    const char *format;
};

constexpr qint64 longestStart = 16;

constexpr std::array signatures = {
    Signature{"\xFF\xD8\xFF"sv, 0, "jpeg"},
    Signature{"\x89PNG\r\n\x1A\n"sv, 0, "png"},
    Signature{"GIF87a"sv, 0, "gif"},
    Signature{"GIF89a"sv, 0, "gif"},
    Signature{"WEBP"sv, 8, "webp"},
    Signature{"BM"sv, 0, "bmp"},
    Signature{"MM\0*"sv, 0, "tiff"},
    Signature{"II*\0"sv, 0, "tiff"},
    // Brands of still pictures in the container that films use too.
    Signature{"ftypheic"sv, 4, "heic"},
    Signature{"ftypheix"sv, 4, "heic"},
    Signature{"ftypmif1"sv, 4, "heic"},
    Signature{"ftypmsf1"sv, 4, "heic"},
    Signature{"ftyphevc"sv, 4, "heic"},
};

} // namespace

QByteArray pictureFormat(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    const QByteArray start = file.read(longestStart);
    const std::string_view bytes(start.constData(), size_t(start.size()));
    for (const Signature &signature : signatures) {
        if (bytes.size() >= signature.offset && bytes.substr(signature.offset).starts_with(signature.bytes))
            return signature.format;
    }
    return {};
}
