#pragma once

#include "export/exportmessages.h"
#include "export/exporttarget.h"
#include "export/messagerecord.h"
#include "store/records/absformatexport.h"

struct _MsgMessage;

/// Comma-separated values with all columns of `messageColumns`, by RFC 4180 but for the line feed at the end
/// of a line. Dates are local with their offset. A cell that a spreadsheet would take for a formula gets an
/// apostrophe before its first sign.
class ExportFullCsv final : public AbsFormatExport<_MsgMessage>
{
public:
    ExportFullCsv(const QString &path, GuidTest isOwnGuid, Utf8Mark mark);

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override { target.finish(); }

private:
    ExportTarget target;
    MessageRecordMaker records;
    Utf8Mark mark;
};
