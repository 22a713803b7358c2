#include "export/exportmessages.h"

#include "app/freespace.h"
#include "app/jobprogress.h"
#include "export/exportandroid.h"
#include "export/exportconversation.h"
#include "export/exportedattachments.h"
#include "export/exportfolder.h"
#include "export/exportfullcsv.h"
#include "export/exportmessagescsv.h"
#include "export/exportmessagesjson.h"
#include "export/exportmessagestxt.h"
#include "export/exportsmshtml.h"
#include "export/exportsmspdf.h"
#include "export/exportworkbook.h"
#include "store/records/messagerecords.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

using MessageWriter = std::unique_ptr<AbsFormatExport<_MsgMessage>>;

MessageWriter makeWriter(const ExportPlan &plan, const QString &path, const QList<_MsgMessage *> &messages,
                         ExportedAttachments *attachments)
{
    switch (plan.format) {
    case ExportText: return std::make_unique<ExportMessagesTxt>(path, plan.emoji);
    case ExportCsv: return std::make_unique<ExportMessagesCsv>(path, plan.emoji);
    case ExportPdf: return std::make_unique<ExportSMSPdf>(path, plan.emoji);
    case ExportHtml: return std::make_unique<ExportSMSHtml>(path, plan.emoji, attachments);
    case ExportFullTable: return std::make_unique<ExportFullCsv>(path, plan.isOwnGuid, plan.utf8Mark);
    case ExportJsonLines: return std::make_unique<ExportMessagesJson>(path, plan.emoji, plan.isOwnGuid);
    case ExportXlsx: return std::make_unique<ExportWorkbook>(path, plan.isOwnGuid);
    case ExportAndroidSms: return std::make_unique<ExportAndroid>(path, messages);
    default: throw std::runtime_error("not support export format.");
    }
}

/// Counts the messages of all files of an export and reports them.
class MessageCount
{
public:
    MessageCount(qint64 allMessages, JobProgress &jobProgress)
        : total(allMessages), pace(allMessages), progress(jobProgress)
    {
    }

    void throwIfStopped() const { throwIfCancelled(progress); }

    void addOne()
    {
        ++written;
        if (pace.isDue(written))
            progress.updateProgress({}, percentOf(written, total),
                                    QObject::tr("Messages: %1/%2").arg(written).arg(total));
    }

private:
    qint64 total;
    qint64 written = 0;
    ProgressPace pace;
    JobProgress &progress;
};

void writeFile(const QList<_MsgMessage *> &messages, const ExportPlan &plan, const QString &path,
               MessageCount &count, ExportedAttachments *attachments = nullptr)
{
    const MessageWriter writer = makeWriter(plan, path, messages, attachments);
    writer->begin();
    for (const _MsgMessage *message : messages) {
        count.throwIfStopped();
        writer->write(*message);
        count.addOne();
    }
    writer->end();
}

void writeFolder(const QList<_MsgMessage *> &messages, const ExportPlan &plan, MessageCount &count,
                 JobProgress &progress)
{
    if (plan.format == ExportHtml)
        checkFreeSpaceThrow(plan.path, attachmentFileBytes(messages));
    ExportFolder folder(plan.path, plan.afterFailure);
    ExportedAttachments attachments(folder, progress);
    if (plan.format == ExportHtml && !messages.isEmpty())
        folder.addStyleFiles();
    const QString suffix = plan.format == ExportHtml ? u".html"_s : u".pdf"_s;
    for (const ExportConversation &conversation : exportConversations(messages, plan.ascending)) {
        const QString path = folder.newFile(conversation.fileName, suffix);
        writeFile(conversation.messages, plan, path, count, &attachments);
        // A painter that can't write its file keeps silent.
        if (!QFile::exists(path))
            throw std::runtime_error(
                u"%1: the file could not be written; is the disk full, or the folder read-only?"_s.arg(path)
                    .toStdString());
    }
    folder.keep();
}

} // namespace

qint64 exportMessages(const QList<_MsgMessage *> &messages, const ExportPlan &plan, JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_EXPORTING_MESSAGES_TO_FILE"), -1, {});
    MessageCount count(messages.size(), progress);
    if (plan.format == ExportPdf || plan.format == ExportHtml)
        writeFolder(messages, plan, count, progress);
    else if (!messages.isEmpty())
        writeFile(messages, plan, plan.path, count);
    return plan.format == ExportAndroidSms ? countCarriedByAndroid(messages) : messages.size();
}
