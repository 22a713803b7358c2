#include "export/exportworkbook.h"

#include "app/disksync.h"
#include "app/filetools.h"
#include "export/messagecolumns.h"
#include "export/workbook.h"

#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

enum Sheet { Messages, Attachments, People };

template <typename Record>
QVariantList cells(std::span<const TableColumn<Record>> columns, const Record &record)
{
    QVariantList cells;
    for (const TableColumn<Record> &column : columns)
        cells.append(column.value(record));
    return cells;
}

template <typename Record>
void addSheet(Workbook &workbook, const QString &name, std::span<const TableColumn<Record>> columns,
              const Record &sample)
{
    QList<Workbook::Heading> headings;
    for (const TableColumn<Record> &column : columns)
        headings.append(
            {QLatin1StringView(column.name), column.value(sample).typeId() == QMetaType::QDateTime});
    workbook.addSheet(name, headings);
}

void addSheets(Workbook &workbook)
{
    const _MsgAttachment nothing;
    const MessageRecord message;
    RecordAttachment attachment;
    attachment.source = &nothing;
    addSheet<MessageRecord>(workbook, u"messages"_s, messageColumns(), message);
    addSheet<AttachmentRow>(workbook, u"attachments"_s, attachmentColumns(), {message, attachment});
    addSheet<PersonRow>(workbook, u"people"_s, personColumns(), {});
}

} // namespace

ExportWorkbook::ExportWorkbook(const QString &path, GuidTest isOwnGuid)
    : path(path), records(MessageRecordMaker::Hashes::Made, EmojiStyle::Characters, std::move(isOwnGuid))
{
}

ExportWorkbook::~ExportWorkbook() = default;

void ExportWorkbook::begin()
{
    const QFileInfo existing(path);
    if (existing.exists() && !existing.isFile())
        throw std::runtime_error(u"%1: not a regular file."_s.arg(path).toStdString());
    folder = std::make_unique<QTemporaryDir>(existing.absolutePath() + u"/.workbook-XXXXXX"_s);
    if (!folder->isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(path, folder->errorString()).toStdString());
    workbook = std::make_unique<Workbook>(folder->filePath(u"workbook.xlsx"_s), folder->path());
    addSheets(*workbook);
}

void ExportWorkbook::write(const _MsgMessage &message)
{
    const MessageRecord record = records.record(message);
    workbook->addRow(Messages, cells(messageColumns(), record));
    for (const RecordAttachment &attachment : allAttachments(record))
        workbook->addRow(Attachments, cells(attachmentColumns(), AttachmentRow{record, attachment}));
    countPeople(record);
}

void ExportWorkbook::end()
{
    for (auto &[address, row] : people) {
        row.conversations = conversations.value(address).size();
        workbook->addRow(People, cells(personColumns(), row));
    }
    workbook->close();
    const QString made = folder->filePath(u"workbook.xlsx"_s);
    syncToDisk(made);
    renameThrow(made, path);
    folder.reset();
}

void ExportWorkbook::countPeople(const MessageRecord &record)
{
    const auto rowOf = [&](const RecordPerson &person) -> PersonRow & {
        PersonRow &row = people[person.address];
        if (row.person.address.isEmpty() || row.person.name.isEmpty())
            row.person = person;
        conversations[person.address].insert(record.chat_identifier);
        return row;
    };
    for (const RecordPerson &person : record.others)
        rowOf(person);
    if (!record.sender.address.isEmpty())
        ++rowOf(record.sender).sent;
    for (const RecordReaction &reaction : record.reactions) {
        if (!reaction.who.address.isEmpty())
            ++rowOf(reaction.who).reactions;
    }
}
