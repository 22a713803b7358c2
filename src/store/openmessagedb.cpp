#include "openmessagedb.h"

#include "ios5messagedb.h"
#include "ios6messagedb.h"
#include "messagestore.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

QString messageDbPath(const QDir &root)
{
    return root.absoluteFilePath(u"file-relay/var/mobile/Library/SMS/sms.db"_s);
}

QString recycleDbPath(const QDir &root)
{
    return root.absoluteFilePath(u"recycle.db"_s);
}

std::unique_ptr<AbsIOSMessageDb> openMessageDb(const QDir &root, const QString &mcc)
{
    switch (sniffMessageDbVersion(messageDbPath(root))) {
    case 5: return std::make_unique<IOS5MessageDb>(root, mcc);
    case 6: return std::make_unique<IOS6MessageDb>(root, mcc, false);
    default: throw std::runtime_error("invalid IOS db.");
    }
}
