#pragma once

#include "absformatexport.h"
#include "exporttarget.h"
#include "localdatetext.h"
#include "messagetext.h"

#include <QHash>

struct _MsgChat;
struct _MsgMessage;

/// One page of XHTML 1.0 Transitional for a conversation: each message a block behind an anchor "sms" and
/// its rowid. It is well-formed and valid whatever the messages hold.
class ExportSMSHtml final : public AbsFormatExport<_MsgMessage>
{
public:
    explicit ExportSMSHtml(const QString &path, EmojiStyle emoji = EmojiStyle::Markers);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    ExportTarget target;
    EmojiStyle emoji;
    LocalDateText dates;
    QHash<const _MsgChat *, QString> titles; ///< as HTML
};
