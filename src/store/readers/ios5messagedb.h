#pragma once

#include "store/people/addressresolver.h"
#include "store/readers/absmessagedb.h"

#include <QDir>
#include <QHash>
#include <QString>

#include <memory>

class Sqlite3Cursor;

/// Reads the message database of phones before iOS 6, and makes of it what iOS 6 would have written.
///
/// Its text messages stand in groups ("msg_group"), dated in Unix seconds; its iMessages in columns of
/// their own of the same table and, on iOS 5, in chats ("madrid_chat"). The latter get the negated rowid,
/// which keeps the two kinds of chats apart.
class IOS5MessageDb : public AbsIOSMessageDb
{
public:
    /// `rootFolder` holds "file-relay"; `countryCode` is the phone's mobile country code, which may be empty.
    IOS5MessageDb(const QDir &rootFolder, const QString &countryCode);
    /// The same for a database at a path of its own.
    IOS5MessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode);

    /// Throws `std::runtime_error` when the file is missing, damaged or no database.
    void openDb() override;
    void chats(_MsgStorePtr &store) override;
    /// A text message has no guid in such a file: each load makes a new one.
    void messages(_MsgStorePtr &store, qint64 chatId) override;
    void attachments(_MsgStorePtr &store) override;
    int dbVersion() override { return 5; }
    void nameHandle(_MsgHandle &handle) override { addresses.nameHandle(handle); }
    QString takeContactsFailure() override { return addresses.takeContactsFailure(); }

protected:
    void prepare() override;

private:
    using ChatsByIdentifier = QHash<QString, _MsgChat *>;

    void readGroups(_MsgStore &store);
    void readMembers(_MsgStore &store);
    _MsgHandle *memberHandle(const Sqlite3Cursor &member, qint64 rowid);
    ChatsByIdentifier readMadridChats(_MsgStore &store);
    void addParticipants(_MsgStore &store, _MsgChat &chat, const QStringList &participants);
    void setNewestDates(const ChatsByIdentifier &chats, const QString &column);

    class MessageLoad;

    AddressResolver addresses;
    QHash<QString, QString> tables; ///< name to the text that created it
};
