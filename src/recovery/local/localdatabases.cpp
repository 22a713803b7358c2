#include "recovery/local/localdatabases.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QRegularExpression>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr int sqliteBusy = 5; // SQLite's code for a file that another connection has locked

/// Where deleted databases go until their files are gone: moving a folder there is one step, removing
/// it is many. It lies among them because a move stays on one disk.
QString binFolder()
{
    return localDatabasesDir().absoluteFilePath(u".deleted"_s);
}

bool isHiddenName(const QString &name)
{
    return name.startsWith(u'.');
}

/// Whether the file has no table: what is left when the very first import is killed.
bool isBlank(const QString &file)
{
    Sqlite3DB db;
    db.openThrow(file, sqliteReadWrite);
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select 1 from sqlite_master limit 1"));
    return !cursor.moveNextThrow();
}

void checkUnusedThrow(const LocalDatabase &database)
{
    const QString file = database.file();
    if (!QFile::exists(file))
        return;
    Sqlite3DB db;
    db.openThrow(file, sqliteReadWrite);
    QString error;
    if (db.exec(u"begin exclusive"_s, error) == sqliteBusy) // damaged is fine: it goes anyway
        throw std::runtime_error(u"%1: %2: another program is using it."_s.arg(file, error).toStdString());
}

} // namespace

QString LocalDatabase::file() const
{
    return messageDbPath(QDir(path));
}

QList<LocalDatabase> localDatabases()
{
    const auto shown = QDir::Dirs | QDir::NoDotAndDotDot;
    QList<LocalDatabase> databases;
    for (const QFileInfo &folder : localDatabasesDir().entryInfoList(shown, QDir::Name)) {
        if (!isHiddenName(folder.fileName())) // not every system hides them
            databases.append({folder.fileName(), folder.absoluteFilePath()});
    }
    return databases;
}

std::optional<LocalDatabase> findLocalDatabase(const QString &name)
{
    const QString wanted = name.trimmed();
    for (const LocalDatabase &database : localDatabases()) {
        if (database.name.compare(wanted, Qt::CaseInsensitive) == 0)
            return database;
    }
    return std::nullopt;
}

QString localDatabaseNameError(const QString &name)
{
    static const QRegularExpression forbidden(u"[\\\\/:\\*\\?\\\"<>|]+"_s);
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return QObject::tr("IDS_PLEASE_SELECT_DATABASE_OR_INPUT_NEW_NAME");
    if (findLocalDatabase(trimmed))
        return {};
    if (trimmed.contains(forbidden) || isHiddenName(trimmed) || !pathBelow(localDatabasesDir(), trimmed))
        return QObject::tr("IDS_INVALID_LOCALDB_NAME");
    return {};
}

LocalDatabase localDatabaseToFill(const QString &name)
{
    if (const std::optional<LocalDatabase> known = findLocalDatabase(name))
        return *known;
    const QString error = localDatabaseNameError(name);
    if (!error.isEmpty())
        throw std::runtime_error(error.toStdString());
    return {name.trimmed(), localDatabasesDir().absoluteFilePath(name.trimmed())};
}

std::unique_ptr<IOS6MessageDb> openLocalDatabase(const LocalDatabase &database, const QString &countryCode)
{
    return std::make_unique<IOS6MessageDb>(QDir(database.path), countryCode, true);
}

qint64 countMessages(const LocalDatabase &database)
{
    const QString file = database.file();
    if (!QFile::exists(file) || isBlank(file))
        return 0;
    IOS6MessageDb db(QDir(database.path), QString(), false);
    db.openToWrite(); // with its locks: another program may be filling it
    return db.countMessages();
}

void deleteLocalDatabase(const LocalDatabase &database)
{
    checkUnusedThrow(database);
    const QDir bin(binFolder());
    if (!bin.mkpath(u"."_s) || !QDir().rename(database.path, uniqueFileName(bin.filePath(database.name))))
        throw std::runtime_error(
            u"%1: the folder can't be removed; close what uses it."_s.arg(database.path).toStdString());
    QDir(bin).removeRecursively(); // also what an earlier run had to leave
}
