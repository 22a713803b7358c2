#pragma once

#include "app/interruptdelay.h"
#include "sqlite_qt/sqlite3db.h"

#include <QHash>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// A copy of a database that only we can read, with the log or the journal beside it worked into it: one
/// plain file. It goes with this object, and an interrupt of the program waits for that.
class PrivateCopy
{
public:
    /// Throws `std::runtime_error` when `source` can't be copied or is no database.
    explicit PrivateCopy(const QString &source);

    const QString &path() const { return file; }
    /// Takes the copy's name away. Whoever has it open reads on, and nothing is left whatever happens to the
    /// program. False on systems that don't allow that: the copy then goes with this object.
    bool unlink() { return folder.remove(); }

private:
    void foldThrow(const QString &source);

    InterruptDelay delay; // longer than the folder
    QTemporaryDir folder;
    QString file;
};

/// A database of somebody else's that is open for reading. It, what lies beside it and its folder stay as
/// they are: where it has a log or a journal, a private copy is read. Views can't be read: one that is
/// named like a table might have no end.
struct UntouchedDb {
    /// Throws `std::runtime_error`, which names `path`, when it is missing, damaged at its start or no
    /// database.
    explicit UntouchedDb(const QString &path);

    std::unique_ptr<PrivateCopy> copy; ///< null where nothing is left of it; else `db` has to be closed first
    Sqlite3DB db;
};

/// Opens a file that nobody changes as it lies, as if there were no log and no journal. Throws as
/// `UntouchedDb` does.
void openAsItLiesThrow(Sqlite3DB &db, const QString &path);

/// The tables of a database: name to the text that created it.
QHash<QString, QString> tableTexts(Sqlite3DB &db);
