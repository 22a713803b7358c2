#include "sources/opensource.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "backup/backupattachments.h"
#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "sources/findsource.h"
#include "store/people/countrylibdb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// Where the program keeps what it finds out about a database alone: nothing is to lie beside that.
QDir folderFor(const QString &file)
{
    const QDir folder(dataRoot().absoluteFilePath(u"opened/"_s + md5Hex(file)));
    if (!folder.mkpath(u"."_s))
        throw std::runtime_error(u"%1: the folder can't be made."_s.arg(folder.path()).toStdString());
    return folder;
}

} // namespace

bool isKnownCountry(const QString &mcc)
{
    bool found = false;
    if (!mcc.isEmpty())
        CountryLibDb({}).countryByMmc(mcc, &found);
    return found;
}

void extractMessages(const BackupManifest &manifest, JobProgress &progress)
{
    extractMessages(manifest, backupCacheDir(manifest), progress, Attachments::LeftInBackup);
}

std::unique_ptr<AbsIOSMessageDb> openExtracted(const QSharedPointer<BackupManifest> &manifest,
                                               const QString &country)
{
    const QDir cache = backupCacheDir(*manifest);
    auto db = openMessageDb(cache, country.isEmpty() ? countryOfBackup(manifest->backupDir) : country);
    if (manifest->isModern)
        db->findAttachmentsBy(std::make_shared<BackupAttachments>(manifest, cache));
    return db;
}

std::unique_ptr<AbsIOSMessageDb> openInPlace(const FoundSource &source, const QString &country)
{
    if (source.kind == SourceKind::LocalDatabase)
        return openLocalDatabase(source.database, country);
    if (source.kind == SourceKind::DatabaseFile)
        return openMessageDb(folderFor(source.file), source.file, country);
    return openMessageDb(source.folder, country);
}
