#include "store/records/phonetree.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

QDir phoneTree(const QDir &root)
{
    const QString database = u"var/mobile/Library/SMS/sms.db"_s;
    const QDir relay(root.absoluteFilePath(u"file-relay"_s));
    const bool isInRelay = QFileInfo::exists(relay.filePath(database));
    return !isInRelay && QFileInfo::exists(root.filePath(database)) ? QDir(root.absolutePath()) : relay;
}
