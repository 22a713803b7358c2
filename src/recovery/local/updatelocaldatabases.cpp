#include "recovery/local/updatelocaldatabases.h"

#include "app/appledates.h"
#include "app/datalocations.h"
#include "app/jobprogress.h"
#include "app/sqliteheader.h"
#include "recovery/local/exportmessagesdb.h"
#include "recovery/local/localdatabases.h"
#include "recovery/local/oldmessagefile.h"
#include "sqlite_qt/databasefiles.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/people/countrylibdb.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto workingSuffix = ".__tmp"_L1;

/// Whether `path` is a file of SQLite's own beside a database. It may still bear the database's name from
/// before it was moved.
bool isCompanion(const QString &path)
{
    for (const QLatin1StringView ending : companionSuffixes) {
        if (!path.endsWith(ending))
            continue;
        QString owner = path.chopped(ending.size());
        if (QFileInfo(owner).isFile())
            return true;
        if (owner.endsWith(workingSuffix) && QFileInfo(owner.chopped(workingSuffix.size())).isFile())
            return true;
    }
    return false;
}

/// Whether an interrupted update has begun to move `path`: without its journal it can't be looked into.
bool isHalfMoved(const QString &path)
{
    return std::any_of(companionSuffixes.begin(), companionSuffixes.end(), [&](QLatin1StringView ending) {
        return QFile::exists(path + workingSuffix + ending);
    });
}

/// Whether `path` is a database of the old format: other files may lie here too, and are left alone. Throws
/// where a database can't be read.
bool isOldDatabase(const QString &path)
{
    if (isHalfMoved(path))
        return true;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(u"%1: %2"_s.arg(path, file.errorString()).toStdString());
    if (file.read(sqliteFileHeader.size()) != sqliteFileHeader)
        return false;
    UntouchedDb old(path);
    return old.db.queryThrow(Sqlite3Sql("select 1 from sqlite_master where name='view_sms'")).moveNextThrow();
}

QStringList oldFiles()
{
    QStringList files;
    for (const QFileInfo &file : localDatabasesDir().entryInfoList(QDir::Files, QDir::Name)) {
        if (!isCompanion(file.absoluteFilePath()) && isOldDatabase(file.absoluteFilePath()))
            files.append(file.absoluteFilePath());
    }
    return files;
}

void moveThrow(const QString &from, const QString &to)
{
    if (!QFile::rename(from, to))
        throw std::runtime_error(u"can not rename %1."_s.arg(to).toStdString());
}

void removeThrow(const QString &path)
{
    if (QFile::exists(path) && !QFile::remove(path))
        throw std::runtime_error(u"can not remove %1."_s.arg(path).toStdString());
}

/// Gives the file the name that it has while it is converted. The database goes last: without its
/// journal beside it, it may be half of a transaction.
QString moveAsideThrow(const QString &path)
{
    if (path.endsWith(workingSuffix))
        return path;
    const QString working = path + workingSuffix;
    for (const QLatin1StringView ending : companionSuffixes) {
        if (QFile::exists(path + ending))
            moveThrow(path + ending, working + ending);
    }
    moveThrow(path, working);
    return working;
}

_MsgMessage messageOf(const OldMessage &old)
{
    _MsgMessage message = takenOverMessage(u"SMS"_s);
    message.text = old.text;
    message.account = u"e:"_s;
    message.date = int(old.date - appleEpoch);
    message.date_read = message.date;
    message.date_delivered = message.date;
    message.is_from_me = old.isSent ? 1 : 0;
    return message;
}

/// Appends a message. Its guid is made of its content, so that a second conversion makes the same one.
void appendConverted(ExportMessagesDb &target, const OldMessage &old, const QString &address)
{
    _MsgHandle handle;
    handle.id = address;
    handle.uncanonicalized_id = old.address;
    handle._ct_name = old.person;
    _MsgChat chat;
    chat.guid = u"SMS;-;"_s + address;
    chat.chat_identifier = address;
    chat.handles.insert(address, &handle);
    _MsgMessage message = messageOf(old);
    message.handle = &handle;
    message.chat = &chat;
    message.guid = messageGuidFromData(logicHash(message).toUtf8());
    target.append(message);
}

void convertRows(OldMessageFile &old, ExportMessagesDb &target, const QString &status, JobProgress &progress)
{
    CountryLibDb countries{QString()};
    const qint64 total = old.count();
    ProgressPace pace(total);
    qint64 done = 0;
    while (const std::optional<OldMessage> message = old.next()) {
        if (pace.isDue(++done))
            progress.updateProgress(status, percentOf(done, total), u"SMS: %1/%2"_s.arg(done).arg(total));
        appendConverted(target, *message, normalizeAddress(countries.defaultCountry(), message->address));
    }
}

void convertFile(const QString &path, JobProgress &progress)
{
    const QString status = QObject::tr("IDS_UPDATING_LOCALDB_%1").arg(QFileInfo(path).fileName());
    progress.updateProgress(status, 0, {});
    const QString working = moveAsideThrow(path);
    const QString name = QFileInfo(working.chopped(workingSuffix.size())).fileName();
    // A database of that name may be there: from an interrupted run, or in another letter case.
    const LocalDatabase target =
        findLocalDatabase(name).value_or(LocalDatabase{name, localDatabasesDir().absoluteFilePath(name)});
    {
        OldMessageFile old(working);
        ExportMessagesDb writer(QDir(target.path), target.file());
        writer.begin();
        convertRows(old, writer, status, progress);
        writer.finish();
    }
    for (const QLatin1StringView ending : companionSuffixes)
        removeThrow(working + ending);
    removeThrow(working);
}

} // namespace

bool needsLocalDbUpdate()
{
    try {
        return !oldFiles().isEmpty();
    } catch (const std::runtime_error &) {
        return true; // the update says what is wrong
    }
}

void updateLocalDatabases(JobProgress &progress)
{
    for (const QString &path : oldFiles())
        convertFile(path, progress);
}
