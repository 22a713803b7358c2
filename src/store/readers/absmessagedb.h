#pragma once

#include "sqlite_qt/absdb.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QString>

#include <memory>

class AttachmentFinder;
class IOS6MessageDb;
class PrivateCopy;
struct UntouchedDb;

/// A source of messages, whatever its file looks like.
class AbsMessageDb : public AbsDb
{
public:
    /// Fills `store` with chats and those who take part, with names and photos of the address book and
    /// the date of the newest message. A record that is in the store already is not read again.
    virtual void chats(_MsgStorePtr &store) = 0;

    /// Calls `chats`, then fills `store` with messages and links them to chat and handle. `chatId` is the
    /// rowid of the one chat to read, 0 for all. Throws `std::runtime_error` with the file's name where
    /// it can't be read on; the store then holds what was read so far.
    virtual void messages(_MsgStorePtr &store, qint64 chatId) = 0;

    /// The step after `messages`: fills `store` with the attachments of its messages and links them, with
    /// `localFile` where the file is at hand. Those that are in the store already are not read again.
    /// Throws as `messages` does.
    virtual void attachments(_MsgStorePtr &store) = 0;
};

/// A message database of a phone's shape.
class AbsIOSMessageDb : public AbsMessageDb
{
public:
    ~AbsIOSMessageDb() override;

    /// 5 or 6.
    virtual int dbVersion() = 0;
    /// This as the reader of iOS 6 and later, which tells more of its rows and changes them; null when it is
    /// that of iOS 5.
    virtual IOS6MessageDb *asIos6() { return nullptr; }

    /// Gives somebody what `chats`, which comes before it, gives those whom it finds: name and photo of the
    /// address book, and the phone's country for want of another where the file would have one.
    virtual void nameHandle(_MsgHandle &handle) = 0;

    /// What went wrong with the address book while `chats` or `messages` read on without it, for people to
    /// read. Told once: empty when asked again.
    virtual QString takeContactsFailure() = 0;

    /// Whether this is one of the program's own databases, whose row numbers say nothing of a phone.
    virtual bool isLocalDatabase() { return false; }

    /// Goes on with the database as it was opened, instead of opening it in `openDb`.
    void takeOpened(UntouchedDb &opened);

    /// Asks `finder` for the files of attachments, and no longer looks for them below the root folder.
    void findAttachmentsBy(std::shared_ptr<AttachmentFinder> finder);

    /// The folder that holds "file-relay".
    const QDir &rootFolder() const { return root; }
    const QString &databasePath() const { return path; }
    /// The phone's mobile country code: the one it was made with, else, once it is open, what its addresses
    /// and messages tell. Empty when unknown.
    const QString &countryCode() const { return mcc; }

protected:
    AbsIOSMessageDb(const QDir &rootFolder, const QString &databasePath, const QString &countryCode);

    /// To be called at the end of opening: finds the country where the constructor was given none.
    void findCountry();

    /// What files of attachments are looked for in: the root folder, or the folder of a database alone.
    QDir filesFolder() const;

    /// What a reader has to know of its file once that is open.
    virtual void prepare() = 0;
    /// Tells the chats of a store that this is where they come from, unless they know.
    void noteSource(const _MsgStore &store) const;
    /// What finds the files of attachments, for one run of reading.
    std::shared_ptr<AttachmentFinder> attachmentFinder() const;
    /// Number of rows of `table`, for taking room in advance.
    qsizetype rowCount(const QString &table);

    QDir root;
    QString path; ///< of the database
    QString mcc;

private:
    std::shared_ptr<AttachmentFinder> givenFinder;
    std::unique_ptr<PrivateCopy> copy; ///< of a file that can't be read in its place
};
