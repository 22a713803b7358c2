#pragma once

#include "recovery/local/attachmentnames.h"
#include "recovery/local/copiedfiles.h"
#include "recovery/local/extraswriter.h"
#include "recovery/local/importcounts.h"
#include "recovery/local/knownrows.h"
#include "recovery/local/messagewriter.h"
#include "recovery/local/sourcecolumns.h"
#include "sqlite_qt/writetransaction.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/absformatexport.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QMap>
#include <QString>

#include <optional>

/// Writes messages of any source into a Local Database. A message that is there already, by its guid or
/// from another source by its content, gets no second row; chat, handles and attachments around it end up
/// present and joined, and what newer phones tell of it is brought up to date (`ExtrasWriter`).
///
/// A run is `begin`, `append` for each message, `finish`: one transaction. A run that ends without
/// `finish` leaves the database as it was. Of the attachment files that it copied, those stay that a row
/// names.
class ExportMessagesDb final : public AbsFormatExport<_MsgMessage>
{
public:
    /// `rootFolder` is the folder in which attachment files go, `path` the file of the database. It is made
    /// when it is missing. `progress`, if any, can cancel the copy of a file.
    ExportMessagesDb(const QDir &rootFolder, const QString &path, JobProgress *progress = nullptr);
    ~ExportMessagesDb() override;

    void begin() override;
    /// Tells after `begin` what comes in this run, so that the content of a message doesn't lead to the row
    /// of another one that comes later.
    void expect(const QList<_MsgMessage *> &messages);
    /// Throws `std::runtime_error`, or the integer -1 when cancelled; the run is then over. A message without
    /// a chat, or with one of an unknown address, is left out and logged.
    void append(const _MsgMessage &message);
    /// Commits and closes.
    void finish();
    /// Of the run, and after it.
    const ImportCounts &counts() const { return messageCounts; }

    void write(const _MsgMessage &message) override { append(message); }
    void end() override { finish(); }

private:
    struct Incoming {
        const _MsgMessage &message;
        QString hash; ///< its `logicHash`
    };

    bool canHold(const _MsgMessage &message);
    void appendNew(const Incoming &incoming);
    /// Of a message that has a row: adds what came since.
    void appendKnown(const Incoming &incoming, const KnownRows::Row &known);
    ExtrasWriter::Place placeOf(const _MsgMessage &message);
    void raiseNewest(qint64 chatId, const _MsgMessage &message);
    qint64 handleRowid(const _MsgHandle &handle);
    /// Copies the file, if any.
    qint64 attachmentRowid(const _MsgAttachment &attachment);
    void appendAttachments(const Incoming &incoming, qint64 messageId);
    /// The same. Returns the attachment with the path that it has here.
    _MsgAttachment keptFile(const _MsgAttachment &attachment);
    void copyFile(const _MsgAttachment &attachment);
    void takeFilesBack();
    void forgetRun();

    IOS6MessageDb db;
    std::optional<WriteTransaction> transaction; ///< of a run
    MessageWriter writer;                        ///< into `db`
    SourceColumns columns;
    ExtrasWriter extras;
    AttachmentNames names;
    KnownRows knownRows;
    QDir root;
    CopiedFiles files;
    JobProgress *progress;
    ImportCounts messageCounts;

    // Written once at the end instead of once a message.
    QMap<qint64, int> newestDates;   ///< by chat
    QMap<qint64, int> newestDeleted; ///< the same of messages in "Recently Deleted"
};
