#include "recovery/merge/workingcopies.h"

#include "sqlite_qt/databasefiles.h"
#include "sqlite_qt/sqlite3db.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

void copyThrow(const QString &from, const QString &to)
{
    if (const QString failure = copyDatabase(from, to); !failure.isNull()) {
        qWarning("%ls", qUtf16Printable(failure));
        throw std::runtime_error(u"copy database to %1 failed."_s.arg(to).toStdString());
    }
}

QString answerOf(Sqlite3DB &db, const QString &sql)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(sql));
    return cursor.moveNextThrow() ? cursor.getText(0) : QString();
}

} // namespace

QString setJournalMode(const QString &path, const QString &mode)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    const QString old = answerOf(db, u"pragma journal_mode"_s);
    if (answerOf(db, u"pragma journal_mode="_s + mode) != mode)
        throw std::runtime_error(path.toStdString() + ": the log of the database can't be folded into it.");
    return old;
}

WorkingCopies::WorkingCopies(const QString &source)
{
    const QFileInfo info(source);
    // The backup is locked: nobody is at work on these any more.
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

void WorkingCopies::remove() const
{
    for (const QString &path : {merged, phone}) {
        QFile::remove(path);
        for (const QLatin1StringView suffix : companionSuffixes)
            QFile::remove(path + suffix);
    }
}

void WorkingCopies::copy(const QString &source)
{
    copyThrow(source, merged);
    hadLogMode = setJournalMode(merged, u"delete"_s) == "wal"_L1;
    copyThrow(merged, phone);
}
