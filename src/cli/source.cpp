#include "cli/source.h"

#include "app/texts.h"
#include "backup/backupdiscovery.h"
#include "backup/extractmessages.h"
#include "cli/commandline.h"
#include "cli/interrupt.h"
#include "cli/terminalprogress.h"
#include "recovery/carving/deletedmessages.h"
#include "recovery/local/localdatabases.h"
#include "store/people/countrylibdb.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <QFileInfo>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 longestPassword = 64 * 1024; // bytes

/// Whether a person who names `dir` means a backup, perhaps one that lacks something.
bool isMeantAsBackup(const QDir &dir)
{
    return dir.exists(u"Manifest.plist"_s) || dir.exists(u"Manifest.mbdb"_s) || dir.exists(u"Manifest.db"_s);
}

bool isPhoneFolder(const QDir &dir)
{
    return QFileInfo::exists(messageDbPath(dir));
}

QString readPassword(const QString &fileName)
{
    QFile file(fileName);
    const bool opened =
        fileName == "-"_L1 ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!opened)
        throw std::runtime_error(u"%1: %2"_s.arg(fileName, file.errorString()).toStdString());
    QByteArray line = file.readLine(longestPassword);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return QString::fromUtf8(line);
}

/// Opens a backup, with the password if it wants one; says why when it stays locked.
CommandResult openLocked(BackupManifest &manifest, const CommandLine &line, TerminalProgress &progress)
{
    BackupOpening opening = openBackup(manifest, std::nullopt);
    if (opening == BackupOpening::NeedsPassword && !line.passwordFile.isEmpty()) {
        const QString password = readPassword(line.passwordFile);
        const InterruptScope interruptible(progress);
        opening = openBackup(manifest, password, &progress);
    }
    switch (opening) {
    case BackupOpening::Ready: return {};
    case BackupOpening::WrongPassword:
        return {ExitStatus::Password, u"%1: invalid password."_s.arg(line.source)};
    case BackupOpening::NeedsPassword: break;
    }
    return {ExitStatus::Password,
            u"%1: the backup is encrypted; give its password with --password-file."_s.arg(line.source)};
}

/// Brings the message and address book files of a backup into its cache. Returns the cache folder.
QDir cacheBackup(BackupManifest &manifest, TerminalProgress &progress)
{
    const InterruptScope interruptible(progress);
    const QDir cacheDir = backupCacheDir(manifest);
    cacheBackupMessages(manifest, cacheDir, progress);
    progress.clear();
    return cacheDir;
}

bool isKnownCountry(const QString &mmc)
{
    bool found = false;
    CountryLibDb({}).countryByMmc(mmc, &found);
    return found;
}

/// The reader of what the command line names. Says why when a backup stays locked.
std::unique_ptr<AbsIOSMessageDb> openNamed(const CommandLine &line, TerminalProgress &progress,
                                           CommandResult &refusal)
{
    const QDir dir(line.source);
    if (!line.source.isEmpty() && isMeantAsBackup(dir)) {
        BackupManifest manifest(dir.absolutePath());
        refusal = openLocked(manifest, line, progress);
        if (refusal.status != ExitStatus::Done)
            return nullptr;
        const QString country = line.country.isEmpty() ? countryOfBackup(dir) : line.country;
        return openMessageDb(cacheBackup(manifest, progress), country);
    }
    if (!line.source.isEmpty() && isPhoneFolder(dir))
        return openMessageDb(dir, line.country);
    if (const std::optional<LocalDatabase> database = findLocalDatabase(line.source))
        return openLocalDatabase(*database, line.country);
    throw std::runtime_error(
        u"%1: not a backup folder (no Manifest.plist), not a folder with "
        "file-relay/var/mobile/Library/SMS/sms.db, and no Local Database of that name."_s.arg(line.source)
            .toStdString());
}

} // namespace

bool hasOwnGuid(const Source &source, const _MsgMessage &message)
{
    return source.db->dbVersion() != 5 || message.service != "SMS"_L1;
}

Source openUnread(const CommandLine &line, TerminalProgress &progress)
{
    Source source;
    if (!line.country.isEmpty() && !isKnownCountry(line.country))
        source.refusal = {ExitStatus::Usage, u"Unknown mobile country code \"%1\"."_s.arg(line.country)};
    else
        source.db = openNamed(line, progress, source.refusal);
    return source;
}

Source openSource(const CommandLine &line, TerminalProgress &progress)
{
    Source source = openUnread(line, progress);
    if (source.db) {
        source.store = _MsgStorePtr::create();
        source.db->messages(source.store, 0);
        const QString failure = source.db->takeContactsFailure();
        if (!failure.isEmpty())
            std::fprintf(stderr, "%s\n", qUtf8Printable(printable(failure)));
        source.db->attachments(source.store);
        if (line.recovered)
            loadRecycled(*source.db, *source.store);
    }
    return source;
}
