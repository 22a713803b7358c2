#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <optional>

class IOS6MessageDb;

/// A named Local Database: a folder with the message file and its attachments.
struct LocalDatabase {
    QString name; ///< as people read it: the folder's name
    QString path; ///< of the folder, absolute
    /// The message file below the folder.
    QString file() const;
};

/// All Local Databases, by name. Hidden folders are none.
QList<LocalDatabase> localDatabases();

/// The Local Database of that name, compared without case and blanks around it; nothing when there is
/// none.
std::optional<LocalDatabase> findLocalDatabase(const QString &name);

/// What is wrong with a name for a Local Database, as a text to show; empty when it is fine. The name of
/// one that is there is fine.
QString localDatabaseNameError(const QString &name);

/// The Local Database to write to under that name: the one that is there, or where a new one goes.
/// Nothing is made. Throws `std::runtime_error` with `localDatabaseNameError`.
LocalDatabase localDatabaseToFill(const QString &name);

/// The database ready to be read or changed. It is opened at its first use, then made or brought up to
/// date if need be. `countryCode` is a mobile country code, which may be empty.
std::unique_ptr<IOS6MessageDb> openLocalDatabase(const LocalDatabase &database, const QString &countryCode);

/// The number of messages, without changing the file: 0 where there is none yet. Throws
/// `std::runtime_error` when the file is damaged, locked or no message database.
qint64 countMessages(const LocalDatabase &database);

/// Deletes a Local Database with its attachments. Throws `std::runtime_error` when another program is
/// using it or the folder can't be removed; it is then as it was.
void deleteLocalDatabase(const LocalDatabase &database);
