#include "sources/opensource.h"

#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "sources/findsource.h"
#include "store/people/countrylibdb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

bool isKnownCountry(const QString &mcc)
{
    bool found = false;
    if (!mcc.isEmpty())
        CountryLibDb({}).countryByMmc(mcc, &found);
    return found;
}

void extractMessages(const BackupManifest &manifest, JobProgress &progress)
{
    extractMessages(manifest, backupCacheDir(manifest), progress);
}

std::unique_ptr<AbsIOSMessageDb> openExtracted(const BackupManifest &manifest, const QString &country)
{
    return openMessageDb(backupCacheDir(manifest),
                         country.isEmpty() ? countryOfBackup(manifest.backupDir) : country);
}

std::unique_ptr<AbsIOSMessageDb> openInPlace(const FoundSource &source, const QString &country)
{
    if (source.kind == SourceKind::LocalDatabase)
        return openLocalDatabase(source.database, country);
    return openMessageDb(source.folder, country);
}
