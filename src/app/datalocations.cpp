#include "app/datalocations.h"

#include "app/product.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

QString redirectFile()
{
    return defaultDataParent() + u"/"_s + productIdentifier() + u".redirect"_s;
}

} // namespace

QString applicationDataParent()
{
#ifdef Q_OS_WIN
    const QString roaming = QDir::homePath() + u"/AppData/Roaming"_s;
    return QFileInfo(roaming).isDir() ? roaming : QDir::homePath() + u"/Application Data"_s;
#else
    const QString configured = qEnvironmentVariable("XDG_DATA_HOME");
    // The XDG base directory rules have a relative path ignored.
    return QDir::isAbsolutePath(configured) ? QDir::cleanPath(configured)
                                            : QDir::homePath() + u"/.local/share"_s;
#endif
}

QString defaultDataParent()
{
    return applicationDataParent() + u"/Marrowlight"_s;
}

QDir dataRoot()
{
    static QString root;
    if (root.isEmpty())
        root = readRedirect();
    if (root.isEmpty())
        root = defaultDataParent() + u"/"_s + productIdentifier();
    const bool isNew = !QFileInfo::exists(root);
    QDir().mkpath(root);
    if (isNew) // other people's messages lie in it
        QFile::setPermissions(root, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return QDir(root);
}

QDir localDatabasesDir()
{
    const QDir root = dataRoot();
    root.mkpath(u"local_databases"_s);
    return QDir(root.absoluteFilePath(u"local_databases"_s));
}

QString readRedirect()
{
    QFile file(redirectFile());
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    const QString path = QString::fromUtf8(content.first(qstrnlen(content.constData(), content.size())));
    return QFile::exists(path) ? path : QString();
}

void writeRedirect(const QString &path)
{
    QDir().mkpath(defaultDataParent());
    QFile file(redirectFile());
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(path.toUtf8());
    file.flush();
}
