#include "cli/source.h"

#include "app/texts.h"
#include "backup/backupdiscovery.h"
#include "cli/commandline.h"
#include "cli/exitstatus.h"
#include "cli/interrupt.h"
#include "cli/terminalprogress.h"
#include "sources/findsource.h"
#include "sources/opensource.h"
#include "sources/readsource.h"
#include "store/readers/absmessagedb.h"

#include <QFile>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 longestPassword = 64 * 1024; // bytes

/// Opens a backup, with the password if it wants one. Throws `CommandError` when it stays locked.
void unlock(BackupManifest &manifest, const CommandLine &line, TerminalProgress &progress)
{
    BackupOpening opening = openBackup(manifest, std::nullopt);
    if (opening == BackupOpening::NeedsPassword && !line.passwordFile.isEmpty()) {
        const QString password = readPassword(line.passwordFile);
        const InterruptScope interruptible(progress);
        opening = openBackup(manifest, password, &progress);
    }
    if (opening == BackupOpening::WrongPassword)
        throw CommandError(ExitStatus::Password, u"%1: invalid password."_s.arg(line.source));
    if (opening == BackupOpening::NeedsPassword)
        throw CommandError(
            ExitStatus::Password,
            u"%1: the backup is encrypted; give its password with --password-file."_s.arg(line.source));
}

/// The reader of an unlocked backup, whose databases are brought into the cache first.
std::unique_ptr<AbsIOSMessageDb> extractAndOpen(const QSharedPointer<BackupManifest> &manifest,
                                                const QString &country, TerminalProgress &progress)
{
    {
        const InterruptScope interruptible(progress);
        extractMessages(*manifest, progress);
    }
    progress.clear();
    return openExtracted(manifest, country);
}

} // namespace

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

std::unique_ptr<AbsIOSMessageDb> openUnread(const CommandLine &line, TerminalProgress &progress)
{
    if (!line.country.isEmpty() && !isKnownCountry(line.country))
        throw CommandError(ExitStatus::Usage, u"Unknown mobile country code \"%1\"."_s.arg(line.country));
    const FoundSource found = findSource(line.source);
    if (found.kind != SourceKind::Backup)
        return openInPlace(found, line.country);
    const auto manifest = QSharedPointer<BackupManifest>::create(found.folder.absolutePath());
    unlock(*manifest, line, progress);
    return extractAndOpen(manifest, line.country, progress);
}

Choice Source::localized(Choice choice) const
{
    choice.country = db->countryCode();
    return choice;
}

Source openSource(const CommandLine &line, TerminalProgress &progress)
{
    Source source;
    source.db = openUnread(line, progress);
    source.store = readSource(*source.db, line.recovered);
    const QString failure = source.db->takeContactsFailure();
    if (!failure.isEmpty())
        std::fprintf(stderr, "%s\n", qUtf8Printable(printable(failure)));
    return source;
}
