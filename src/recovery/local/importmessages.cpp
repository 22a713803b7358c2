#include "recovery/local/importmessages.h"

#include "app/filetools.h"
#include "app/freespace.h"
#include "app/jobprogress.h"
#include "recovery/local/exportmessagesdb.h"
#include "store/readers/attachmentpaths.h"
#include "store/records/attachmentlist.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

/// Whether a database holds no message and nobody else is at work on it.
bool isEmptyAndUnused(const QString &path)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QString error;
    if (db.exec(u"begin exclusive"_s, error) != 0)
        return false;
    const QString anyMessage = u"select rowid from message limit 1"_s;
    const bool hasTables = db.exec(anyMessage, error) == 0;
    return !hasTables || !db.queryThrow(Sqlite3Sql(anyMessage)).moveNext();
}

/// Takes a database away again that a failed run has made.
class NewDatabaseGuard
{
public:
    NewDatabaseGuard(const QDir &rootFolder, const QString &databasePath)
        : root(rootFolder)
        , path(databasePath)
        , rootWasThere(rootFolder.exists())
        , wasThere(QFile::exists(databasePath))
    {
    }
    ~NewDatabaseGuard()
    {
        if (!wasThere && !kept)
            takeAway();
    }
    Q_DISABLE_COPY_MOVE(NewDatabaseGuard)

    void keep() { kept = true; }

private:
    void takeAway() noexcept
    {
        try {
            if (QFile::exists(path) && !isEmptyAndUnused(path))
                return; // another program is filling it by now
            QFile::remove(path);
            if (!rootWasThere)
                removeTree(root.absolutePath());
        } catch (const std::exception &error) {
            qWarning("A new Local Database is left behind: %s", error.what());
        }
    }

    QDir root;
    QString path;
    bool rootWasThere;
    bool wasThere;
    bool kept = false;
};

/// Bytes of attachment files that aren't in the folder yet.
qint64 bytesToCopy(const QList<_MsgMessage *> &messages, const QDir &root)
{
    qint64 bytes = 0;
    for (const auto &[message, attachment] : listAttachments(messages)) {
        const std::optional<QString> target = attachmentTarget(root, attachment->filename);
        const qint64 size = attachment->localFile.size();
        if (target && QFileInfo(*target).size() != size) // a file of other content stays, too
            bytes += size;
    }
    return bytes;
}

/// The chats of recovered messages whose address nobody knows have numbers that keep them off phones. A Local
/// Database is to hold what people see, so there they go in as any other.
void append(ExportMessagesDb &target, const _MsgMessage &message)
{
    if (!message.chat || !isOfUnknownAddress(*message.chat))
        return target.append(message);
    _MsgChat chat = *message.chat;
    chat.rowid = 0;
    _MsgMessage kept = message;
    kept.chat = &chat;
    target.append(kept);
}

void appendAll(ExportMessagesDb &target, const QList<_MsgMessage *> &messages, JobProgress &progress)
{
    workThrough(messages, progress, u"SMS: %1/%2"_s,
                [&](const _MsgMessage *message) { append(target, *message); });
    throwIfCancelled(progress);
}

} // namespace

ImportCounts importMessages(const QList<_MsgMessage *> &messages, const QDir &root, const QString &path,
                            JobProgress &progress)
{
    progress.updateProgress(QObject::tr("IDS_BACKING_UP_SMS"), 0, {});
    checkFreeSpaceThrow(root.absolutePath(), bytesToCopy(messages, root));
    NewDatabaseGuard guard(root, path);
    ImportCounts counts;
    {
        ExportMessagesDb target(root, path, &progress);
        target.begin();
        target.expect(messages);
        appendAll(target, sortMessages(messages), progress);
        target.finish();
        guard.keep();
        counts = target.counts();
    }
    return counts;
}
