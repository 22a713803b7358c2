#pragma once

#include "export/exporttarget.h"
#include "export/localdatetext.h"
#include "store/records/absformatexport.h"
#include "store/records/messagetext.h"

#include <QHash>

struct _MsgChat;
struct _MsgMessage;

/// Comma-separated values with a header line, one line a message: date, send (1 sent, 0 received),
/// person, number, content. Quoted as in RFC 4180, but for a lone carriage return, and with a line feed
/// at the end of a line.
class ExportMessagesCsv final : public AbsFormatExport<_MsgMessage>
{
public:
    explicit ExportMessagesCsv(const QString &path, EmojiStyle emojiStyle = EmojiStyle::Markers);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    ExportTarget target;
    EmojiStyle emoji;
    LocalDateText dates;
    QHash<const _MsgChat *, QString> partners; ///< "person,number" of a chat
};
