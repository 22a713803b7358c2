#include "device/frameworkplaces.h"

#include <QCoreApplication>
#include <QDir>

#include <csignal>

using namespace Qt::StringLiterals;

// The cipher library writes to the sockets of phones as to any file: a phone that is pulled must not end the
// program.
bool prepareFrameworkSearch(QString &)
{
    std::signal(SIGPIPE, SIG_IGN);
    return true;
}

// Our stand-ins lie beside the program, in the build folder as below a prefix. Elsewhere the loader of the
// system looks.
QString frameworkFile(const QString &name)
{
    const QDir ours(QCoreApplication::applicationDirPath() + u"/../lib/marrowlight"_s);
    const QString file = ours.filePath(u"lib%1.so"_s.arg(name));
    return QFile::exists(file) ? QDir::cleanPath(file) : name;
}
