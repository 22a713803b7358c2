#include "export/exporttarget.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

ExportTarget::ExportTarget(const QString &path) : file(path)
{
}

void ExportTarget::open()
{
    // A device or a pipe would be replaced by a file under its name.
    const QFileInfo existing(file.fileName());
    if (existing.exists() && !existing.isFile())
        throw std::runtime_error(u"%1: not a regular file."_s.arg(file.fileName()).toStdString());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        fail();
    stream.setDevice(&file);
}

void ExportTarget::finish()
{
    stream.flush();
    const bool written = stream.status() == QTextStream::Ok;
    stream.setDevice(nullptr);
    if (!written || !file.commit())
        fail();
}

void ExportTarget::fail() const
{
    throw std::runtime_error(u"%1: %2"_s.arg(file.fileName(), file.errorString()).toStdString());
}
