#pragma once

#include "absformatexport.h"
#include "ios6messagedb.h"
#include "messageplacing.h"
#include "messagerecords.h"

#include <QDir>
#include <QString>

/// Writes messages of any source into a Local Database. A message that is there already, by its content
/// or its guid, gets no second row; chat, handles and attachments around it end up present and joined.
///
/// A run is `begin`, `append` for each message, `finish`: one transaction. A run that ends without
/// `finish` leaves the database as it was, but for attachment files that were copied already.
class ExportMessagesDb final : public AbsFormatExport<_MsgMessage>
{
public:
    /// `root` is the folder in which attachment files go, `path` the file of the database. It is made
    /// when it is missing.
    ExportMessagesDb(const QDir &root, const QString &path);
    ~ExportMessagesDb() override;

    void begin() override;
    /// Throws `std::runtime_error`; the run is then over. A message without a chat, or with one of an
    /// unknown address, is left out and logged.
    void append(const _MsgMessage &message);
    /// Commits and closes.
    void finish();

    void write(const _MsgMessage &message) override { append(message); }
    void end() override { finish(); }

private:
    void copyFile(const _MsgAttachment &attachment) const;

    IOS6MessageDb db;
    MessagePlacing placing; ///< into `db`
    QDir root;
};
