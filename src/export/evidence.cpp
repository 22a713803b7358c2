#include "export/evidence.h"

#include "app/disksync.h"
#include "app/filetools.h"
#include "app/freespace.h"
#include "app/jobprogress.h"
#include "app/product.h"
#include "export/bag.h"
#include "export/exportedattachments.h"
#include "export/exporttarget.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagestore.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QObject>
#include <QSet>
#include <QTemporaryDir>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

QString reportName(int format)
{
    switch (format) {
    case ExportText: return u"messages.txt"_s;
    case ExportCsv: return u"messages.csv"_s;
    case ExportHtml: return u"html"_s;
    case ExportFullTable: return u"messages-all-columns.csv"_s;
    case ExportJsonLines: return u"messages.jsonl"_s;
    case ExportXlsx: return u"messages.xlsx"_s;
    case ExportAndroidSms: return u"messages-android.xml"_s;
    default: throw std::runtime_error("A bag can't hold this format: its files differ with each run.");
    }
}

void copyFile(const LocalFile &from, const QString &to, JobProgress &progress)
{
    if (!QDir().mkpath(QFileInfo(to).path()))
        throw std::runtime_error(u"%1: the folder can't be made."_s.arg(to).toStdString());
    from.copyTo(to, &progress);
}

/// Attachments lie in a folder of their row's number each, dated as their message.
void copyAttachments(const QList<_MsgMessage *> &messages, const QDir &data, JobProgress &progress)
{
    QSet<const _MsgAttachment *> copied;
    workThrough(
        listAttachments(messages), progress, QObject::tr("IDS_COPYING_FILES_%1_OF_%2"),
        [&](const ListedAttachment &listed) {
            const _MsgAttachment &attachment = *listed.attachment;
            if (attachment.localFile.isEmpty() || copied.contains(&attachment))
                return;
            copied.insert(&attachment);
            const QString target = data.filePath(
                u"attachments/%1/%2"_s.arg(attachment.rowid).arg(bagFileName(attachmentName(attachment))));
            copyFile(attachment.localFile, target, progress);
            QFile file(target);
            // A date is a help and no proof: where a file system takes none, the copy is as good.
            if (file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                    QFile::ReadOther) &&
                file.open(QIODevice::ReadWrite) &&
                !file.setFileTime(appleDateTime(listed.message->date), QFile::FileModificationTime))
                qWarning("%s: the date can't be set.", qUtf8Printable(target));
        });
}

void writeJson(const QString &path, const QJsonObject &object)
{
    ExportTarget target(path);
    target.open();
    target.text() << QString::fromUtf8(QJsonDocument(object).toJson());
    target.finish();
}

void writeReports(const QList<_MsgMessage *> &messages, const EvidencePlan &plan, const QDir &data,
                  JobProgress &progress)
{
    for (const int format : plan.formats) {
        ExportPlan report{data.filePath(u"report/"_s + reportName(format)), format};
        report.emoji = EmojiStyle::Characters;
        report.isOwnGuid = plan.isOwnGuid;
        exportMessages(messages, report, progress);
    }
}

void fill(const QDir &folder, const QList<_MsgMessage *> &messages, const EvidencePlan &plan,
          JobProgress &progress)
{
    const QDir data(folder.filePath(u"data"_s));
    if (!QDir().mkpath(data.filePath(u"report"_s)))
        throw std::runtime_error(u"%1: the folder can't be made."_s.arg(data.path()).toStdString());
    for (const EvidenceOriginal &original : plan.originals)
        copyFile(original.path, data.filePath(u"source/"_s + original.name), progress);
    copyAttachments(messages, data, progress);
    writeReports(messages, plan, data, progress);
    writeJson(data.filePath(u"phone.json"_s), plan.phone);
    writeJson(data.filePath(u"reckoning.json"_s), plan.reckoning);
    ExportTarget run(folder.filePath(QLatin1StringView(bagRunFile)));
    run.open();
    run.text() << plan.run.join(u'\n') << u'\n';
    run.finish();
    finishBag(folder, {{u"Bag-Software-Agent"_s, productName() + u' ' + versionText()}}, progress);
}

} // namespace

void makeEvidence(const QList<_MsgMessage *> &messages, const EvidencePlan &plan, JobProgress &progress)
{
    const QFileInfo target(QDir::cleanPath(QFileInfo(plan.folder).absoluteFilePath()));
    if (target.exists() || target.isSymLink())
        throw std::runtime_error(
            u"%1: there is something of this name already; name a folder that doesn't exist."_s
                .arg(plan.folder)
                .toStdString());
    checkFreeSpaceThrow(target.absolutePath(), attachmentFileBytes(messages));
    const QTemporaryDir folder(target.absolutePath() + u"/.evidence-XXXXXX"_s);
    if (!folder.isValid())
        throw std::runtime_error(u"%1: %2"_s.arg(plan.folder, folder.errorString()).toStdString());
    const QDir made(folder.filePath(u"bag"_s));
    fill(made, messages, plan, progress);
    throwIfCancelled(progress);
    syncToDisk(made.path());
    renameThrow(made.path(), target.filePath());
}
