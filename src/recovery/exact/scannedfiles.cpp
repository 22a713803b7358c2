#include "recovery/exact/scannedfiles.h"

#include "app/freespace.h"
#include "sqlite_qt/databasefiles.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void throwFailure(const QFile &file)
{
    throw std::runtime_error(u"%1: %2"_s.arg(file.fileName(), file.errorString()).toStdString());
}

} // namespace

ScannedFiles::ScannedFiles(const QString &path)
{
    QString readable = path;
    if (hasLogOrJournal(path)) {
        folder = std::make_unique<QTemporaryDir>();
        qint64 size = QFileInfo(path).size();
        for (const QLatin1StringView suffix : contentSuffixes)
            size += QFileInfo(path + suffix).size();
        checkFreeSpaceThrow(folder->path(), size);
        readable = folder->filePath(u"copy"_s);
        if (const QString failure = copyDatabase(path, readable); !failure.isNull())
            throw std::runtime_error(failure.toStdString());
    }
    mapped = {map(readable), map(readable + contentSuffixes[0]), map(readable + contentSuffixes[1])};
}

QByteArrayView ScannedFiles::map(const QString &path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->exists() || file->size() == 0)
        return {};
    const uchar *bytes = file->open(QIODevice::ReadOnly) ? file->map(0, file->size()) : nullptr;
    if (!bytes)
        throwFailure(*file);
    files.push_back(std::move(file));
    return {bytes, files.back()->size()};
}
