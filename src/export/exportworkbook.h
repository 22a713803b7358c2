#pragma once

#include "export/messagerecord.h"
#include "store/records/absformatexport.h"

#include <QSet>
#include <QTemporaryDir>

#include <map>
#include <memory>

struct PersonRow;
class Workbook;
struct _MsgMessage;

/// A workbook of Office Open XML (ECMA-376) with a sheet of messages, one of their attachments and one of
/// people. Dates are dates, in local time, with the offset from UTC in the next column; texts are never
/// formulas. A text that is longer than a cell can be goes on in the rows below, which repeat the first cell;
/// rows beyond those of a sheet go on in a further one. Memory doesn't grow with the messages.
class ExportWorkbook final : public AbsFormatExport<_MsgMessage>
{
public:
    ExportWorkbook(const QString &path, GuidTest isOwnGuid);
    ~ExportWorkbook() override;

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    void countPeople(const MessageRecord &record);

    QString path;
    MessageRecordMaker records;
    std::unique_ptr<QTemporaryDir> folder; ///< beside the file, for what is not complete yet
    std::unique_ptr<Workbook> workbook;
    std::map<QString, PersonRow> people;         ///< by address
    QHash<QString, QSet<QString>> conversations; ///< of an address
};
