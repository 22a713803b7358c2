#pragma once

#include "export/exporttarget.h"
#include "export/localdatetext.h"
#include "store/records/absformatexport.h"
#include "store/records/messagetext.h"

#include <QHash>

#include <utility>

struct _MsgChat;
struct _MsgHandle;
struct _MsgMessage;

/// Plain text in columns under a header, one line a message. A ".doc" file is this format too.
class ExportMessagesTxt final : public AbsFormatExport<_MsgMessage>
{
public:
    explicit ExportMessagesTxt(const QString &path, EmojiStyle emojiStyle = EmojiStyle::Markers);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    /// Padded to its column.
    const QString &name(const _MsgMessage &message);

    ExportTarget target;
    EmojiStyle emoji;
    LocalDateText dates;
    QHash<std::pair<const _MsgChat *, const _MsgHandle *>, QString> senders;
    QHash<const _MsgChat *, QString> titles;
};
