#include "export/exportsmspdf.h"

#include "app/disksync.h"
#include "app/filetools.h"
#include "app/product.h"
#include "store/records/messagerecords.h"

#include <QFile>
#include <QScopeGuard>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr double margin = 20;  // points
constexpr int resolution = 96; // dots per inch, in which the layout of a page counts

/// Whether the file was written to its end: the painter doesn't tell of a full disk.
bool isWholePdf(const QString &path)
{
    static const QByteArray trailer = "%%EOF\n"_ba;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.seek(std::max<qint64>(0, file.size() - trailer.size())) &&
           file.readAll() == trailer;
}

} // namespace

ExportSMSPdf::ExportSMSPdf(const QString &path, EmojiStyle emoji)
    : path(path), partPath(uniqueFileName(path + u".part"_s)), pages(partPath), renderer(painter, emoji)
{
    pages.setResolution(resolution);
    pages.setPageSize(QPageSize(QPageSize::A4));
    pages.setPageMargins(QMarginsF(margin, margin, margin, margin), QPageLayout::Point);
    pages.setTitle(productName());
    pages.setCreator(productName());
}

ExportSMSPdf::~ExportSMSPdf()
{
    if (painter.isActive()) {
        painter.end();
        QFile::remove(partPath);
    }
}

void ExportSMSPdf::begin()
{
    renderer.begin(&pages);
}

void ExportSMSPdf::write(const _MsgMessage &message)
{
    renderer.draw(message);
}

void ExportSMSPdf::end()
{
    if (!painter.isActive())
        return;
    painter.end();
    const auto removePart = qScopeGuard([this] { QFile::remove(partPath); });
    if (!isWholePdf(partPath))
        return;
    syncToDisk(partPath); // a name that outlives a loss of power must not name an empty file
    try {
        renameThrow(partPath, path);
    } catch (const std::runtime_error &error) {
        qWarning("%s", error.what());
    }
}
