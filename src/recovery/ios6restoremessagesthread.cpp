#include "ios6restoremessagesthread.h"

#include "backuprewrite.h"
#include "diskroom.h"
#include "filetools.h"
#include "jobprogress.h"
#include "manifestwriter.h"
#include "mbdbreader.h"
#include "messagetext.h"
#include "readernames.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

using Records = QHash<QString, _MbdbRecord>;

constexpr auto homeDomain = "HomeDomain"_L1;
constexpr auto mediaDomain = "MediaDomain"_L1;
constexpr auto databasePath = "Library/SMS/sms.db"_L1;

QString backupName(const QString &suffix = {})
{
    return mbdbFileName(homeDomain, databasePath + suffix);
}

[[noreturn]] void fail(const QString &text, const QString &path)
{
    throw std::runtime_error(text.arg(path).toStdString());
}

/// Names in the backup folder of the database and of what SQLite keeps beside it.
QStringList databaseNames()
{
    QStringList names{backupName()};
    for (const char16_t *suffix : companionSuffixes)
        names.append(backupName(QString::fromUtf16(suffix)));
    return names;
}

/// The files that stand beside the phone's database while the new one is made. They go with this object.
class WorkingCopies
{
public:
    /// Takes the database with the log beside it.
    explicit WorkingCopies(const QString &source)
    {
        const QFileInfo info(source);
        // The backup is locked: what lies here is of a run that was killed.
        for (const QString &old : info.dir().entryList({info.fileName() + u"[0-9]*"_s}, QDir::Files))
            QFile::remove(info.dir().filePath(old));
        merged = source + QString::number(QDateTime::currentSecsSinceEpoch());
        phone = merged + u"-phone"_s;
        try {
            copy(source);
        } catch (...) {
            remove();
            throw;
        }
    }
    ~WorkingCopies() { remove(); }
    Q_DISABLE_COPY_MOVE(WorkingCopies)

    QString merged;
    QString phone;
    bool hadLogMode = false; ///< whether the phone writes to a log first

private:
    void copy(const QString &source);
    void remove() const
    {
        for (const QString &path : {merged, phone}) {
            QFile::remove(path);
            for (const char16_t *suffix : companionSuffixes)
                QFile::remove(path + QString::fromUtf16(suffix));
        }
    }
};

void copyThrow(const QString &from, const QString &to, const QString &failure)
{
    if (!QFile::copy(from, to))
        fail(failure, to);
    QFile::setPermissions(to, QFile::permissions(to) | QFile::WriteOwner);
}

QString answerOf(Sqlite3DB &db, const QString &sql)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    return cursor.moveNextThrow() ? cursor.getText(0) : QString();
}

/// Sets how SQLite writes to the file, which folds a log into it. Returns what it was.
QString setJournalMode(const QString &path, const QString &mode)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    const QString old = answerOf(db, u"pragma journal_mode"_s);
    if (answerOf(db, u"pragma journal_mode="_s + mode) != mode)
        fail(u"%1: the log of the database can't be folded into it."_s, path);
    return old;
}

void WorkingCopies::copy(const QString &source)
{
    const QString failure = u"copy database to %1 failed."_s;
    copyThrow(source, merged, failure);
    for (const char16_t *suffix : {u"-wal", u"-journal"}) {
        const QString ending = QString::fromUtf16(suffix);
        if (QFile::exists(source + ending))
            copyThrow(source + ending, merged + ending, failure);
    }
    hadLogMode = setJournalMode(merged, u"delete"_s) == "wal"_L1;
    copyThrow(merged, phone, failure);
}

/// Makes sure that a reader who knows the old file by its date sees that this is another one.
void dateAfter(const QString &path, quint32 seconds)
{
    QFile file(path);
    const QDateTime next = QDateTime::fromSecsSinceEpoch(qint64(seconds) + 1);
    if (QFileInfo(path).lastModified() < next && file.open(QIODevice::ReadWrite))
        file.setFileTime(next, QFileDevice::FileModificationTime);
}

/// Prepares the files that the backup gets.
class BackupFilling
{
public:
    BackupFilling(const QDir &backupDir, BackupRewrite &backupRewrite)
        : backup(backupDir)
        , rewrite(backupRewrite)
        , manifestPath(backupDir.absoluteFilePath(manifestName))
        , records(readMbdbFile(manifestPath))
    {
    }

    /// Throws unless the database at `source` is the one that the backup holds.
    void checkIsCopy(const QString &source) const;
    void stageDatabase(const QString &path);
    void stageAttachments(const QList<const _MsgMessage *> &messages, const JobProgress &progress);
    void stageManifest();

private:
    void addAttachment(const _MsgAttachment &attachment);
    void stageFile(const QString &from, const QString &name);
    bool isListed(const QString &name) const;
    void emptyCompanions();
    void updateRecord(const QString &name);

    QDir backup;
    BackupRewrite &rewrite;
    QString manifestPath;
    Records records;
    QList<AddedFile> added;
    QSet<QString> addedPaths;
};

// Readers leave out a log that isn't listed, or is listed as empty.
bool BackupFilling::isListed(const QString &name) const
{
    const auto record = records.constFind(name);
    return record != records.cend() && !isEmptyEntry(*record);
}

void BackupFilling::checkIsCopy(const QString &source) const
{
    const QString log = source + u"-wal"_s;
    const QString logName = backupName(u"-wal"_s);
    const bool isSame = fileSha1(source) == rewrite.oldHash(backupName());
    const bool isSameLog =
        isListed(logName) ? fileSha1(log) == rewrite.oldHash(logName) : QFileInfo(log).size() == 0;
    if (!isSame || !isSameLog)
        fail(u"%1 isn't the database of this backup any more. Load the backup again."_s, source);
}

void BackupFilling::stageFile(const QString &from, const QString &name)
{
    checkRoomThrow(backup.absolutePath(), QFileInfo(from).size());
    const QString target = rewrite.staged(name);
    if (!QFile::copy(from, target))
        fail(u"can not overwrite %1."_s, backup.absoluteFilePath(name));
}

void BackupFilling::updateRecord(const QString &name)
{
    const QString path = rewrite.staged(name);
    _MbdbRecord &record = records[name];
    dateAfter(path, record.mtime);
    setDataHash(record, fileSha1(path));
    setFileDates(record, path);
}

void BackupFilling::stageDatabase(const QString &path)
{
    const QString name = backupName();
    stageFile(path, name);
    // A backup that doesn't list its database lists it from now on: a record without a name would be none.
    if (!records.contains(name))
        addBackupFile(records, rewrite.staged(name), homeDomain, databasePath);
    updateRecord(name); // its length stays, the phone takes the file as it is
    emptyCompanions();
}

// All that the log held is in the new database. On the old log SQLite would lay the old pages over it.
void BackupFilling::emptyCompanions()
{
    for (const char16_t *suffix : companionSuffixes) {
        const QString name = backupName(QString::fromUtf16(suffix));
        if (!isListed(name) || rewrite.oldHash(name).isEmpty())
            continue;
        QFile empty(rewrite.staged(name));
        if (!empty.open(QIODevice::WriteOnly))
            fail(u"can not overwrite %1."_s, backup.absoluteFilePath(name));
        empty.close();
        updateRecord(name);
        records[name].fileLength = 0;
    }
}

void BackupFilling::stageAttachments(const QList<const _MsgMessage *> &messages, const JobProgress &progress)
{
    for (const _MsgMessage *message : messages) {
        if (message->attachments.isEmpty())
            continue;
        for (const _MsgAttachment *attachment : sortedAttachments(*message)) {
            if (QFileInfo(attachment->localFile).isFile())
                addAttachment(*attachment);
        }
    }
    qint64 bytes = 0;
    for (const AddedFile &file : std::as_const(added))
        bytes += QFileInfo(file.localPath).size();
    checkRoomThrow(backup.absolutePath(), bytes);
    for (AddedFile &file : added) {
        throwIfCancelled(progress);
        const QString name = mbdbFileName(file.domain, file.path);
        const QString inBackup = backup.absoluteFilePath(name);
        const bool isThere = QFileInfo::exists(inBackup);
        if (!isThere)
            stageFile(file.localPath, name);
        file.localPath = isThere ? inBackup : rewrite.staged(name);
    }
    addBackupFiles(records, added);
}

void BackupFilling::addAttachment(const _MsgAttachment &attachment)
{
    const qsizetype library = attachment.filename.indexOf("Library/"_L1);
    if (library < 0)
        return;
    const QString relative = attachment.filename.mid(library);
    if (!pathBelow(backup, relative)) {
        qWarning("The attachment \"%ls\" is not copied: its path leaves the folder.",
                 qUtf16Printable(attachment.filename));
        return;
    }
    const qsizetype before = addedPaths.size();
    addedPaths.insert(relative);
    if (addedPaths.size() > before)
        added.append({attachment.localFile, mediaDomain, relative});
}

void BackupFilling::stageManifest()
{
    checkRoomThrow(backup.absolutePath(), QFileInfo(manifestPath).size() * 2);
    writeMbdbFile(records, rewrite.staged(manifestName));
}

void checkHasFiles(const QDir &backup)
{
    for (const QString &name : {QString(manifestName), backupName()}) {
        if (!QFileInfo(backup.absoluteFilePath(name)).isFile())
            fail(u"can not find %1."_s, backup.absoluteFilePath(name));
    }
}

} // namespace

QString messageDatabaseName()
{
    return backupName();
}

MergeCounts restoreMessages(const QList<_MsgMessage *> &messages, IOS6MessageDb &source,
                            const QDir &backupDir, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_MERGING_IOS6_MESSAGES"), 0, {});
    checkHasFiles(backupDir);
    BackupRewrite rewrite(backupDir, databaseNames() + QStringList(manifestName));
    source.close();
    const QString path = source.databasePath();
    BackupFilling filling(backupDir, rewrite);
    filling.checkIsCopy(path);
    checkRoomThrow(QFileInfo(path).path(), 3 * QFileInfo(path).size());
    WorkingCopies copies(path);
    MessageMerge merge(copies.phone, copies.merged, progress);
    const MergeCounts counts = merge.run(messages);
    if (copies.hadLogMode)
        setJournalMode(copies.merged, u"wal"_s);
    filling.stageDatabase(copies.merged);
    filling.stageAttachments(merge.taken(), progress);
    filling.stageManifest();
    throwIfCancelled(progress);
    rewrite.commit();
    return counts;
}

IOS6RestoreMessagesThread::IOS6RestoreMessagesThread(const QList<_MsgMessage *> *chosen, IOS6MessageDb *phone,
                                                     const QDir &backup, JobProgress *jobProgress,
                                                     QObject *parent)
    : QThread(parent), messages(chosen), source(phone), backupDir(backup), progress(jobProgress)
{
}

void IOS6RestoreMessagesThread::run()
{
    runJob(*progress, [this] {
        const MergeCounts counts = restoreMessages(*messages, *source, backupDir, *progress);
        unknownCount = counts.unknownCount;
        validCount = counts.validCount;
        return QString();
    });
}
