#include "recovery/exact/recoverexactly.h"

#include "app/jobprogress.h"
#include "recovery/exact/scannedfiles.h"
#include "sqlite_qt/writetransaction.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/ios6messagedb.h"

#include <QObject>

using namespace Qt::StringLiterals;

ExactResult recoverExactly(AbsIOSMessageDb &db, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_RECOVERING_SMS"), 0, {});
    const ScannedFiles files(db.databasePath());
    ExactScan scan(files.bytes(), &progress);
    FindsDb finds(db.rootFolder());
    finds.prepare(scan.tables());
    db.openDb();
    ExactResult result;
    WriteTransaction transaction(finds);
    const bool isComplete = scan.run([&](const FoundRow &row, const RowIdentity &identity) {
        if (finds.keep(scan.tables()[size_t(row.table)], row, identity))
            ++result.added;
    });
    if (db.asIos6())
        finds.copyHandles(db);
    transaction.commit();
    if (!isComplete)
        throwIfCancelled(progress);
    result.counts = finds.counts();
    return result;
}
