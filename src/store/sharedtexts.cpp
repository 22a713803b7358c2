#include "sharedtexts.h"

namespace
{

constexpr qsizetype mostKnown = 65536; // where texts turn out not to repeat, keeping them is a loss

} // namespace

QString SharedTexts::text(QByteArrayView utf8)
{
    if (utf8.isEmpty())
        return {};
    const auto found = known.constFind(QByteArray::fromRawData(utf8.data(), utf8.size()));
    if (found != known.cend())
        return *found;
    const QString fresh = QString::fromUtf8(utf8);
    if (known.size() < mostKnown)
        known.insert(utf8.toByteArray(), fresh);
    return fresh;
}
