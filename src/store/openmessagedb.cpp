#include "openmessagedb.h"

#include "ios5messagedb.h"
#include "ios6messagedb.h"
#include "messagestore.h"
#include "untoucheddb.h"

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
    UntouchedDb file(messageDbPath(root));
    std::unique_ptr<AbsIOSMessageDb> reader;
    switch (messageDbVersion(file.db)) {
    case 5: reader = std::make_unique<IOS5MessageDb>(root, mcc); break;
    case 6: reader = std::make_unique<IOS6MessageDb>(root, mcc, false); break;
    default: throw std::runtime_error("invalid IOS db.");
    }
    reader->takeOpened(file);
    return reader;
}
