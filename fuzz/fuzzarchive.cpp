#include "app/jobprogress.h"
#include "device/filerelay.h"

#include <QTemporaryDir>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{

/// Gives up on archives that would fill the disk.
class Patience final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override { cancelled = ++updates > 200; }
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}

private:
    int updates = 0;
};

} // namespace

/// The input is the archive that a phone sends. Whatever it names, nothing may lie beside the folder.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QTemporaryDir place;
    QFile archive(place.filePath(u"archive"_s));
    if (!archive.open(QIODevice::WriteOnly))
        std::abort();
    archive.write(reinterpret_cast<const char *>(data), qint64(size));
    archive.close();
    QDir(place.path()).mkdir(u"deep"_s);
    QDir(place.path()).mkdir(u"deep/file-relay"_s);
    Patience patience;
    try {
        extractArchive(archive.fileName(), QDir(place.filePath(u"deep/file-relay"_s)), patience);
    } catch (const std::exception &) {
        // No archive, or one that the disk refuses.
    } catch (int) {
        // Enough.
    }
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (QDir(place.path()).entryList(all).size() != 2 ||
        QDir(place.filePath(u"deep"_s)).entryList(all).size() != 1)
        std::abort();
    return 0;
}
