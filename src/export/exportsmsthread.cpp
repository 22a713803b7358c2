#include "exportsmsthread.h"

#include "exportmessagescsv.h"
#include "exportmessagestxt.h"
#include "jobprogress.h"
#include "messagerecords.h"

using namespace Qt::StringLiterals;

namespace
{

using MessageWriter = std::unique_ptr<AbsFormatExport<_MsgMessage>>;

MessageWriter makeWriter(int format, const QString &path)
{
    switch (format) {
    case ExportText: return std::make_unique<ExportMessagesTxt>(path);
    case ExportCsv: return std::make_unique<ExportMessagesCsv>(path);
    default: throw std::runtime_error("not support export format.");
    }
}

} // namespace

qint64 exportMessages(const QList<_MsgMessage *> &messages, const QString &path, int format,
                      JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_EXPORTING_MESSAGES_TO_FILE"), -1, {});
    const qint64 total = messages.size();
    ProgressPace pace(total);
    MessageWriter writer;
    qint64 written = 0;
    for (const _MsgMessage *message : messages) {
        throwIfCancelled(progress);
        if (!writer) {
            writer = makeWriter(format, path);
            writer->begin();
        }
        writer->write(*message);
        ++written;
        if (pace.isDue(written))
            progress.updateProgress({}, percentOf(written, total),
                                    QObject::tr("Messages: %1/%2").arg(written).arg(total));
    }
    if (writer)
        writer->end();
    return written;
}

ExportSMSThread::ExportSMSThread(const QList<_MsgMessage *> &messageList, const QString &targetPath,
                                 int targetFormat, bool isAscending, JobProgress *jobProgress,
                                 QObject *parent)
    : QThread(parent)
    , messages(messageList)
    , path(targetPath)
    , format(targetFormat)
    , ascending(isAscending)
    , progress(jobProgress)
{
}

void ExportSMSThread::run()
{
    runJob(*progress, [this] {
        const qint64 written = exportMessages(messages, path, format, *progress);
        return QObject::tr("IDS_SUC_EXPORT_%1_MMS").arg(written);
    });
}
