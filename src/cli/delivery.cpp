#include "cli/delivery.h"

#include "cli/commandline.h"
#include "cli/exitstatus.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "export/zipfile.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

Delivery::Delivery(const CommandLine &line, const QString &name) : zip(line.zip), madePath(line.out)
{
    if (zip.isEmpty() && !line.zipPasswordFile.isEmpty())
        throw CommandError(ExitStatus::Usage, u"--zip-password-file needs --zip FILE."_s);
    if (!line.zipPasswordFile.isEmpty()) {
        password = readPassword(line.zipPasswordFile);
        if (password.isEmpty())
            throw std::runtime_error(u"%1: the password is empty."_s.arg(line.zipPasswordFile).toStdString());
    }
    if (!madePath.isEmpty())
        return;
    if (zip.isEmpty())
        throw CommandError(ExitStatus::Usage, u"--out PATH or --zip FILE is missing."_s);
    delay.emplace();
    // Beside the zip file: what is to be encrypted doesn't lie about in a folder of all.
    folder = std::make_unique<QTemporaryDir>(QFileInfo(zip).absolutePath() + u"/.delivery-XXXXXX"_s);
    if (!folder->isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(zip, folder->errorString()).toStdString());
    madePath = folder->filePath(name);
}

void Delivery::finish(TerminalProgress &progress) const
{
    if (zip.isEmpty())
        return;
    if (!QFileInfo::exists(madePath)) // an empty choice makes no file
        throw std::runtime_error(u"%1: there is nothing to pack."_s.arg(zip).toStdString());
    packZip(madePath, zip, password, start, progress);
}

QString Delivery::resultPath() const
{
    return QFileInfo(zip.isEmpty() ? madePath : zip).absoluteFilePath();
}
