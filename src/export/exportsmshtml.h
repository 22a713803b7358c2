#pragma once

#include "export/exporttarget.h"
#include "export/localdatetext.h"
#include "store/records/absformatexport.h"
#include "store/records/messagetext.h"

#include <QHash>

class ExportedAttachments;
struct _MsgChat;
struct _MsgMessage;

/// One page of XHTML 1.0 Transitional for a conversation: each message a block behind an anchor "sms" and
/// its rowid. It is well-formed and valid whatever the messages hold.
class ExportSMSHtml final : public AbsFormatExport<_MsgMessage>
{
public:
    /// `attachments` keeps the files beside the page; without it the page names them in its texts only.
    explicit ExportSMSHtml(const QString &path, EmojiStyle emoji = EmojiStyle::Markers,
                           ExportedAttachments *attachments = nullptr);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    /// Words, then attachments.
    QString body(const _MsgMessage &message) const;
    /// Both in the order of the writer.
    /// A drawing, or the picture of a link, which nothing else shows.
    QString contentPicture(const _MsgMessage &message) const;
    QString orderedBody(const _MsgMessage &message) const;

    ExportTarget target;
    EmojiStyle emoji;
    ExportedAttachments *attachments;
    LocalDateText dates;
    QHash<const _MsgChat *, QString> titles; ///< as HTML
};
