#include "recovery/carving/recoverdeleted.h"

#include "app/datalocations.h"
#include "app/jobprogress.h"
#include "recovery/carving/deletedmessages.h"
#include "recovery/carving/messagerecycledb.h"
#include "recovery/carving/searcheddatabase.h"
#include "store/readers/ios6messagedb.h"

#include <QFileInfo>
#include <QObject>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

int recoverIos6(IOS6MessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_RECOVERING_CONTACTS"), 0, {});
    recoverHandles(database, recycle, &progress);
    throwIfCancelled(progress);
    progress.updateProgress(QObject::tr("IDS_RECOVERING_SMS"), 0, {});
    _MsgStore live;
    db.readChatsAndHandles(live);
    return recoverIos6Messages(db, database, recycle, live.chats.values(), &progress);
}

int recoverIos5(AbsIOSMessageDb &db, SearchedDatabase &database, MessageRecycleDb &recycle,
                JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_RECOVERING_SMS"), 0, {});
    return recoverIos5Messages(db, database, recycle, &progress);
}

/// Its pages hold what the program itself deleted because a person wanted it gone.
bool isOwnDatabase(const AbsIOSMessageDb &db)
{
    const QDir parent = QFileInfo(db.rootFolder().absolutePath()).dir();
    return parent == localDatabasesDir();
}

} // namespace

int recoverDeleted(AbsIOSMessageDb &db, JobProgress &progress)
{
    if (isOwnDatabase(db))
        throw std::runtime_error(
            u"%1: this is a Local Database. Deleted messages are looked for in phones and backups."_s
                .arg(db.rootFolder().absolutePath())
                .toStdString());
    SearchedDatabase database(db.databasePath());
    MessageRecycleDb recycle(db.rootFolder());
    IOS6MessageDb *ios6 = db.asIos6();
    const int found =
        ios6 ? recoverIos6(*ios6, database, recycle, progress) : recoverIos5(db, database, recycle, progress);
    throwIfCancelled(progress);
    return found;
}
