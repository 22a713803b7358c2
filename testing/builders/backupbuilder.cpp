#include "testing/builders/backupbuilder.h"

#include <QSet>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint16 fileMode = 0100644;
constexpr quint16 folderMode = 040755;
constexpr quint16 linkMode = 0120755;
constexpr quint8 untilFirstUnlock = 3;
/// 2013-06-01 00:00 UTC.
constexpr quint32 usualTime = 1370044800;

/// The folder above `path`; empty, not null, for the domain's own entry.
QByteArray parentOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash > 0 ? path.first(slash) : QByteArray("");
}

SampleRecord folderRecord(const QByteArray &domain, const QByteArray &path)
{
    SampleRecord record;
    record.domain = domain;
    record.path = path;
    record.mode = folderMode;
    record.mtime = record.atime = record.ctime = usualTime;
    return record;
}

} // namespace

BackupBuilder::BackupBuilder(const QDir &folder)
    : target(folder), backupDate(QDateTime::fromSecsSinceEpoch(usualTime, Qt::UTC)), state(u"finished"_s)
{
}

BackupBuilder &BackupBuilder::password(const QString &password)
{
    secret = password;
    return *this;
}

BackupBuilder &BackupBuilder::iterations(int number)
{
    rounds = number;
    return *this;
}

BackupBuilder &BackupBuilder::seed(quint64 seed)
{
    seedNumber = seed;
    return *this;
}

BackupBuilder &BackupBuilder::device(const SampleDevice &device)
{
    phone = device;
    return *this;
}

BackupBuilder &BackupBuilder::date(const QDateTime &date)
{
    backupDate = date;
    return *this;
}

BackupBuilder &BackupBuilder::plistFormat(Plist plistFormat)
{
    format = plistFormat;
    return *this;
}

BackupBuilder &BackupBuilder::manifestDb(const SampleManifestOptions &options)
{
    modern = options;
    return *this;
}

BackupBuilder &BackupBuilder::snapshotState(const QString &snapshotState)
{
    state = snapshotState;
    return *this;
}

BackupBuilder::Entry &BackupBuilder::add(const QString &domain, const QString &path)
{
    Entry entry;
    entry.record.domain = domain.toUtf8();
    entry.record.path = path.toUtf8();
    entry.record.mode = fileMode;
    entry.record.mtime = entry.record.atime = entry.record.ctime = usualTime;
    entry.record.protectionClass = untilFirstUnlock;
    entries.append(entry);
    return entries.last();
}

BackupBuilder::Entry &BackupBuilder::lastEntry()
{
    if (entries.isEmpty())
        throw std::runtime_error("Tell the sample backup an entry first.");
    return entries.last();
}

BackupBuilder &BackupBuilder::file(const QString &domain, const QString &path, const QByteArray &bytes)
{
    return file(domain, path, sampleBytes(bytes));
}

BackupBuilder &BackupBuilder::file(const QString &domain, const QString &path, const SampleContent &content)
{
    Entry &entry = add(domain, path);
    entry.record.fileLength = quint64(content.length);
    entry.content = content;
    return *this;
}

BackupBuilder &BackupBuilder::messages(const QString &smsDbPath)
{
    file(u"HomeDomain"_s, u"Library/SMS/sms.db"_s, sampleFile(smsDbPath));
    const QString log = smsDbPath + u"-wal"_s;
    if (QFile::exists(log))
        file(u"HomeDomain"_s, u"Library/SMS/sms.db-wal"_s, sampleFile(log));
    return *this;
}

BackupBuilder &BackupBuilder::addressBook(const QString &addressBookPath)
{
    file(u"HomeDomain"_s, u"Library/AddressBook/AddressBook.sqlitedb"_s, sampleFile(addressBookPath));
    const QString images = QFileInfo(addressBookPath).dir().filePath(u"AddressBookImages.sqlitedb"_s);
    if (QFile::exists(images))
        file(u"HomeDomain"_s, u"Library/AddressBook/AddressBookImages.sqlitedb"_s, sampleFile(images));
    return *this;
}

BackupBuilder &BackupBuilder::folder(const QString &domain, const QString &path)
{
    SampleRecord &record = add(domain, path).record;
    record.mode = folderMode;
    record.protectionClass = 0;
    return *this;
}

BackupBuilder &BackupBuilder::link(const QString &domain, const QString &path, const QString &linkTarget)
{
    SampleRecord &record = add(domain, path).record;
    record.mode = linkMode;
    record.linkTarget = linkTarget.toUtf8();
    record.protectionClass = 0;
    return *this;
}

BackupBuilder &BackupBuilder::missing(const QString &domain, const QString &path, quint64 length)
{
    add(domain, path).record.fileLength = length;
    return *this;
}

BackupBuilder &BackupBuilder::with(std::function<void(SampleRecord &)> change)
{
    lastEntry().change = std::move(change);
    return *this;
}

BackupBuilder &BackupBuilder::protectionClass(int number)
{
    lastEntry().record.protectionClass = quint8(number);
    return *this;
}

BackupBuilder &BackupBuilder::mtime(quint32 seconds)
{
    SampleRecord &record = lastEntry().record;
    record.mtime = record.atime = record.ctime = seconds;
    return *this;
}

BackupBuilder &BackupBuilder::unpadded()
{
    lastEntry().isUnpadded = true;
    return *this;
}

BackupBuilder &BackupBuilder::record(const SampleRecord &record)
{
    lastRecords.append(record);
    return *this;
}

BackupBuilder &BackupBuilder::row(const SampleManifestRow &row)
{
    lastRows.append(row);
    return *this;
}

BackupBuilder &BackupBuilder::tail(const QByteArray &bytes)
{
    lastBytes.append(bytes);
    return *this;
}

/// Entries for the folders above the files and for the domains, where none was told.
QList<BackupBuilder::Entry> BackupBuilder::missingFolders() const
{
    QSet<QPair<QByteArray, QByteArray>> known;
    for (const Entry &entry : entries)
        known.insert({entry.record.domain, entry.record.path});
    QList<Entry> folders;
    for (const Entry &entry : entries) {
        QByteArray path = entry.record.path;
        while (!path.isEmpty()) {
            path = parentOf(path);
            if (known.contains({entry.record.domain, path}))
                break;
            known.insert({entry.record.domain, path});
            folders.append({folderRecord(entry.record.domain, path)});
        }
    }
    return folders;
}

int BackupBuilder::recordCount() const
{
    return int(entries.size() + missingFolders().size());
}
