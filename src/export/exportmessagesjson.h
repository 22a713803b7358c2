#pragma once

#include "export/exporttarget.h"
#include "export/messagerecord.h"
#include "store/records/absformatexport.h"

struct _MsgMessage;

/// JSON Lines: one object a message, with the keys that the companion lists and "sha256" of each
/// attachment whose file is at hand in the place of its path.
class ExportMessagesJson final : public AbsFormatExport<_MsgMessage>
{
public:
    ExportMessagesJson(const QString &path, EmojiStyle emoji, GuidTest isOwnGuid);

    void begin() override { target.open(); }
    void write(const _MsgMessage &message) override;
    void end() override { target.finish(); }

private:
    ExportTarget target;
    MessageRecordMaker records;
    EmojiStyle emoji;
};
