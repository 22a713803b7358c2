#pragma once

#include "store/people/addressresolver.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/messageinsertion.h"
#include "store/readers/messagerows.h"

#include <QDir>
#include <QHash>
#include <QSet>
#include <QString>

#include <memory>

/// The message database of iOS 6 and later, and the program's own Local Databases, which have the same
/// shape with a few columns more. Reading leaves a phone's file as it lies; the row operations write
/// into a Local Database or into a copy of a phone's file.
class IOS6MessageDb : public AbsIOSMessageDb
{
public:
    /// `rootFolder` holds "file-relay"; `countryCode` is the phone's mobile country code, which may be empty.
    /// `upgradeFile` says that this is a Local Database: it is made when it is missing, and gets the columns
    /// that it lacks.
    IOS6MessageDb(const QDir &rootFolder, const QString &countryCode, bool upgradeFile);
    /// The same for a database at a path of its own.
    IOS6MessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode,
                  bool upgradeFile);

    /// Throws `std::runtime_error` when the file is damaged, no message database, or missing and not to be
    /// made. The connection is then closed.
    void openDb() override;
    /// Opens a file of our own so that it can be changed, without the columns that a Local Database has.
    void openToWrite();
    void chats(_MsgStorePtr &store) override;
    /// `chats` without the dates, which take a look at every message.
    void readChatsAndHandles(_MsgStore &store);
    void messages(_MsgStorePtr &store, qint64 chatId) override;
    void attachments(_MsgStorePtr &store) override;
    int dbVersion() override { return 6; }
    IOS6MessageDb *asIos6() override { return this; }
    void nameHandle(_MsgHandle &handle) override;
    QString takeContactsFailure() override { return addresses.takeContactsFailure(); }
    bool isLocalDatabase() override;
    /// Whether the file keeps what newer phones tell of a message, as Local Databases do.
    bool keepsExtras();

    // The schema as the file tells it. Each call below opens the file first.

    /// Whether `columnText` (a name, or a declaration such as "_last INTEGER") stands in the text that
    /// created `table`, in this letter case.
    bool hasColumn(const QString &table, const QString &columnText);
    /// Whether the file can hold events of a conversation.
    bool hasItemType();
    /// What says in SQL that people see the row `m` of "message"; empty where they see all.
    QString shownCondition();

    // Rows by what tells them apart; 0 when there is none.

    qint64 chatRowid(const QString &guid);
    qint64 attachmentRowid(const QString &guid);
    qint64 messageRowid(const QString &guid);
    qint64 handleRowid(const _MsgHandle &handle);
    /// The normal form of the address that a row of "handle" has; empty when there is no such row.
    QString handleAddress(qint64 rowid);
    bool chatHasHandle(qint64 chatId, qint64 handleId);
    /// Messages that people see, once for each chat they stand in.
    qint64 countMessages();

    // New rows; each returns its rowid. Columns that the file lacks are left out.

    /// An empty `hash` is computed. The record's own rowid and handles play no part.
    qint64 insertMessage(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                         const QString &hash);
    /// Inserts and joins those who take part too. Throws for a phone's file when the service is neither SMS
    /// nor iMessage.
    qint64 insertChat(const _MsgChat &chat);
    qint64 insertHandle(const _MsgHandle &handle);
    qint64 insertAttachment(const _MsgAttachment &attachment);
    /// Tells of a handle that is there whose it is, as far as `handle` knows and the file can hold it.
    void tellPerson(qint64 handleRowid, const _MsgHandle &handle);

    // Joins; one that is there already stays single.

    void joinChatHandle(qint64 chatId, qint64 handleId);
    void joinChatMessage(qint64 chatId, qint64 messageId);
    void joinMessageAttachment(qint64 messageId, qint64 attachmentId);

    void setLastAddressedHandle(qint64 chatId, const QString &id);
    /// Sets the date of the chat's newest message, seconds since 2001, unless it is later already.
    void raiseChatLast(qint64 chatId, int date);
    /// The same for a chat that has no date yet.
    void setChatLastIfNone(qint64 chatId, int date);

    /// Deletes a message, and each of its chats whose last one it was. The file's triggers take care of
    /// handles and attachments that nobody refers to any more; attachment files stay.
    void deleteMessage(const _MsgMessage &message);

protected:
    void prepare() override;

private:
    enum class FileKind {
        Phone,            ///< up to iOS 9
        ModernPhone,      ///< since iOS 10
        OldLocalDatabase, ///< without the columns and tables of our own; one that is only read
        LocalDatabase,
    };

    FileKind kindOfFile();
    void readChats(_MsgStore &store);
    void deriveNewestDates(_MsgStore &store, const char *sql);
    void readHandles(_MsgStore &store, const char *sql);
    QString messageQuery(qint64 chatId);
    void readUnplaced(_MsgStore &store, MessageRows &rows);
    void completeHandle(_MsgHandle &handle);
    qint64 firstRowid(const Sqlite3Sql &sql);
    QSet<qint64> chatsOf(qint64 messageId);
    qint64 insertThrow(const Sqlite3Sql &sql);
    void insertJoin(const QString &sql, qint64 first, qint64 second);

    bool upgrade;
    FileKind kind = FileKind::Phone;
    AddressResolver addresses;
    QHash<QString, QString> tables; ///< name to the text that created it

    // Into the columns that `tables` tells.
    MessageInsertion insertion;
    RecordInsertion<_MsgChat> chatInsertion;
    RecordInsertion<_MsgHandle> handleInsertion;
    RecordInsertion<_MsgAttachment> attachmentInsertion;
};
