#include "frameworkplaces.h"

#include <QCoreApplication>
#include <QDir>

using namespace Qt::StringLiterals;

bool prepareFrameworkSearch(QString &)
{
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
