#pragma once

#include "absmessagedb.h"
#include "messagedbparts.h"

#include <QDir>
#include <QHash>
#include <QString>

#include <memory>

/// Reads the message database of iOS 6 and later, and the program's own Local Databases, which have the
/// same shape with a few columns more.
class IOS6MessageDb : public AbsIOSMessageDb
{
public:
    /// `root` holds "file-relay"; `countryCode` is the phone's mobile country code, which may be empty.
    /// With `upgrade` a file of an older shape is to get the columns it lacks.
    IOS6MessageDb(const QDir &root, const QString &countryCode, bool upgrade);
    ~IOS6MessageDb() override;

    /// Throws `std::runtime_error` when the file is missing, damaged or no database.
    void openDb() override;
    void chats(_MsgStorePtr &store) override;
    void messages(_MsgStorePtr &store, qint64 chatId) override;
    int dbVersion() override { return 6; }

private:
    void readChats(_MsgStore &store);
    void deriveNewestDates(_MsgStore &store);
    void readHandles(_MsgStore &store);
    void completeHandle(_MsgHandle &handle);

    QString path; ///< of the database
    [[maybe_unused]] bool upgrade;
    MessageDbParts parts;
    QHash<QString, QString> tables;      ///< name to the text that created it
    std::unique_ptr<QTemporaryDir> copy; ///< of a file that can't be read in its place
};
