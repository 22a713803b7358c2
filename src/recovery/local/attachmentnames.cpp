#include "recovery/local/attachmentnames.h"

#include "store/readers/attachmentpaths.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/messagerecords.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace
{

/// Paths that differ in the letter case alone are one file on some systems.
QString keyOf(const QString &filename)
{
    return pathBelowRoot(filename).toLower();
}

bool haveSameContent(const LocalFile &one, const LocalFile &other)
{
    constexpr qint64 blockSize = 1 << 20; // bytes
    if (one.path() == other.path())
        return true;
    QFile a(one.readablePath());
    if (!a.open(QIODevice::ReadOnly))
        return false;
    QFile b(other.readablePath()); // which may take the first one's copy away, but not out of our hands
    if (a.size() != b.size() || !b.open(QIODevice::ReadOnly))
        return false;
    while (!a.atEnd()) {
        const QByteArray block = a.read(blockSize);
        if (block.isEmpty() || block != b.read(blockSize))
            return false;
    }
    return true;
}

bool hasFile(const _MsgAttachment &attachment)
{
    return attachment.localFile.isThere();
}

QString inFolder(const QString &filename, int number)
{
    const qsizetype name = filename.lastIndexOf(u'/') + 1;
    return filename.first(name) + QString::number(number) + u'/' + filename.sliced(name);
}

} // namespace

AttachmentNames::AttachmentNames(IOS6MessageDb &database, Place placeOf)
    : db(database), place(std::move(placeOf))
{
}

QString AttachmentNames::pathFor(const _MsgAttachment &attachment)
{
    readRows();
    Sqlite3Sql sql("select filename from attachment where guid=?");
    sql.addTextParam(attachment.guid);
    Sqlite3Cursor cursor = db.queryThrow(sql);
    const bool isKnown = cursor.moveNextThrow();
    const QString path =
        isKnown ? pathOfKnown(attachment, cursor.getText(0)) : freePath(attachment, attachment.filename);
    if (!isKnown)
        ++rows[keyOf(path)];
    if (hasFile(attachment))
        incoming.insert(keyOf(path), attachment.localFile);
    return path;
}

void AttachmentNames::forget()
{
    isRead = false;
    rows.clear();
    incoming.clear();
    numbers.clear();
}

void AttachmentNames::readRows()
{
    if (std::exchange(isRead, true))
        return;
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql("select filename from attachment"));
    while (cursor.moveNextThrow())
        ++rows[keyOf(cursor.getText(0))];
}

QString AttachmentNames::pathOfKnown(const _MsgAttachment &attachment, const QString &kept)
{
    const bool isShared = rows.value(keyOf(kept)) > 1;
    if (!isShared || !hasFile(attachment) || isFree(attachment, kept))
        return kept;
    const QString path = freePath(attachment, kept);
    Sqlite3Sql sql("update attachment set filename=? where guid=?");
    sql.addTextParam(path);
    sql.addTextParam(attachment.guid);
    db.executeThrow(sql);
    --rows[keyOf(kept)];
    ++rows[keyOf(path)];
    return path;
}

QString AttachmentNames::freePath(const _MsgAttachment &attachment, const QString &wanted)
{
    // Thousands may share a name and lack a file: none of them tries again what the last one found taken.
    int &lastOfMissing = numbers[keyOf(wanted)];
    int number = hasFile(attachment) ? 0 : lastOfMissing;
    QString path = number > 0 ? inFolder(wanted, number) : wanted;
    while (!isFree(attachment, path))
        path = inFolder(wanted, ++number);
    if (!hasFile(attachment))
        lastOfMissing = number;
    return path;
}

bool AttachmentNames::isFree(const _MsgAttachment &attachment, const QString &filename) const
{
    if (filename.isEmpty() || !place(filename))
        return true; // no file is ever found under it
    const LocalFile there = fileAt(filename);
    if (there.isEmpty())
        return rows.value(keyOf(filename)) == 0;
    return hasFile(attachment) && haveSameContent(there, attachment.localFile);
}

LocalFile AttachmentNames::fileAt(const QString &filename) const
{
    if (const LocalFile file = incoming.value(keyOf(filename)); !file.isEmpty())
        return file;
    const std::optional<QString> file = place(filename);
    return file && QFileInfo(*file).isFile() ? LocalFile(*file) : LocalFile();
}
