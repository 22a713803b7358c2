// A part has a type as in mail ("text/plain; charset=utf-8") and a number within its message. Words lie in
// the row, pictures in a file below the message folder, in two folders that differ by phone:
// "Parts/xx/yy/<rowid of the message>-<number>.jpg". Formats: RFC 2045, RFC 2046; the envelope is SMIL.

#include "store/readers/mmsparts.h"

#include "sqlite_qt/sqlite3db.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/messageattachments.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"
#include "store/records/phonetree.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStringDecoder>

#include <optional>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 longestText = 1024 * 1024; // bytes; a picture message has no more than a third of it in all

// Ahead of all rows of "madrid_attachment", so that both can be in one store.
constexpr qint64 firstRowid = -(qint64(1) << 52);

enum class PartKind { Words, Envelope, File };

PartKind kindOf(const QString &contentType)
{
    const QString type = contentType.section(u';', 0, 0).trimmed().toLower();
    if (type == "text/plain"_L1)
        return PartKind::Words;
    return type == "application/smil"_L1 ? PartKind::Envelope : PartKind::File;
}

/// The parts of all messages in their order. `bytes` counts what lies in the row.
Sqlite3Cursor queryParts(Sqlite3DB &db)
{
    const bool hasNames = db.tbInfo(u"msg_pieces"_s).contains(u"content_loc"_s); // not in the earliest files
    QString sql = u"select p.message_id, p.part_id, p.content_type, %1, m.text, length(p.data) as bytes, "
                  "case when lower(p.content_type) like 'text/plain%' then p.data end as words "
                  "from msg_pieces as p left join message as m on m.rowid=p.message_id "
                  "order by p.message_id, p.part_id, p.rowid"_s;
    return db.queryThrow(Sqlite3Sql(sql.replace("%1"_L1, hasNames ? "p.content_loc"_L1 : "''"_L1)));
}

/// Files of parts by message and number.
class PartFiles
{
public:
    explicit PartFiles(const QDir &rootFolder) : root(rootFolder) {}

    /// Relative to the phone's folder; empty when there is none.
    QString find(qint64 messageId, int number)
    {
        if (!files)
            gather();
        return files->value(u"%1-%2"_s.arg(messageId).arg(number));
    }

private:
    void gather()
    {
        const QDir phone(phoneTree(root).filePath(u"var/mobile"_s));
        files.emplace();
        QDirIterator it(phone.filePath(u"Library/SMS/Parts"_s), QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (!it.fileName().contains("-preview"_L1))
                files->insert(it.fileInfo().completeBaseName(), phone.relativeFilePath(path));
        }
    }

    QDir root;
    std::optional<QHash<QString, QString>> files;
};

QString decoded(const QByteArray &words, const QString &contentType)
{
    static const QRegularExpression parameter(u"charset\\s*=\\s*\"?([^\\s\";]+)"_s,
                                              QRegularExpression::CaseInsensitiveOption);
    const QByteArray charset = parameter.match(contentType).captured(1).toLatin1();
    QStringDecoder named(charset.isEmpty() ? "utf-8" : charset.constData());
    if (named.isValid()) {
        const QString text = named(words);
        if (!named.hasError())
            return text;
    }
    QStringDecoder utf8(QStringDecoder::Utf8); // most phones write it, whatever they say
    const QString text = utf8(words);
    return utf8.hasError() ? QString::fromLatin1(words) : text;
}

/// What `part`, a row of words, says: by itself, or by the file it has instead.
QString wordsOf(const Sqlite3Cursor &part, const QDir &root, PartFiles &files)
{
    QByteArray words = part.getBlob(u"words"_s);
    if (words.isEmpty()) {
        const QString name = files.find(part.getInt64(0), part.getInt(1));
        QFile file(name.isEmpty() ? QString() : FolderAttachments(root).find(u"~/"_s + name).path());
        if (!file.fileName().isEmpty() && file.open(QIODevice::ReadOnly))
            words = file.read(longestText);
    }
    QString text = decoded(words, part.getText(2));
    while (text.endsWith(QChar::Null))
        text.chop(1);
    return text;
}

/// What the parts of one message come to.
struct MmsText {
    QString stored; ///< text of the message's row
    QString text;
    QStringList words;

    void add(PartKind kind, const QString &said)
    {
        if (kind == PartKind::File)
            text += attachmentSign;
        if (kind != PartKind::Words || said.isEmpty())
            return;
        text += words.isEmpty() ? said : u'\n' + said;
        words.append(said);
    }
};

QString withoutSpaces(QString text)
{
    text.removeIf([](QChar c) { return c.isSpace() || c == attachmentSign; });
    return text;
}

QString completeText(const MmsText &parts)
{
    const QString stored = withoutSpaces(parts.stored);
    if (parts.words.isEmpty() || stored == withoutSpaces(parts.words.join(QString())))
        return parts.stored;
    return stored.isEmpty() ? parts.text : parts.stored + u'\n' + parts.text;
}

std::unique_ptr<_MsgAttachment> attachmentOf(const _MsgMessage &message, const Sqlite3Cursor &part)
{
    auto attachment = std::make_unique<_MsgAttachment>();
    attachment->mime_type = part.getText(2);
    attachment->transfer_name = QFileInfo(part.getText(3)).fileName();
    attachment->is_outgoing = message.is_from_me;
    attachment->created_date = attachment->start_date = message.date;
    // Of the text that the phone's row has, which stays where words come into the message.
    _MsgMessage bare = message;
    bare.attachments.clear();
    bare.text = part.getText(4);
    attachment->guid =
        messageGuidFromData(QString(logicHash(bare) + u'-' + QString::number(part.getInt(1))).toUtf8());
    return attachment;
}

void findFile(_MsgAttachment &attachment, const Sqlite3Cursor &part, AttachmentFinder &finder,
              PartFiles &files)
{
    const QString file = files.find(part.getInt64(0), part.getInt(1));
    attachment.filename = file.isEmpty() ? attachment.transfer_name : u"~/"_s + file;
    attachment.localFile = finder.find(attachment.filename);
    attachment.total_bytes =
        attachment.localFile.isEmpty() ? part.getInt64(u"bytes"_s) : attachment.localFile.size();
}

} // namespace

void readMmsTexts(Sqlite3DB &db, const QDir &root, _MsgStore &store)
{
    if (!tableTexts(db).contains(u"msg_pieces"_s))
        return;
    PartFiles files(root);
    QHash<qint64, MmsText> texts;
    Sqlite3Cursor part = queryParts(db);
    while (part.moveNextThrow()) {
        if (!store.messages.contains(part.getInt64(0)))
            continue;
        MmsText &text = texts[part.getInt64(0)];
        text.stored = part.getText(4);
        const PartKind kind = kindOf(part.getText(2));
        text.add(kind, kind == PartKind::Words ? wordsOf(part, root, files) : QString());
    }
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        store.messages.value(it.key())->text = completeText(*it);
}

void readMmsAttachments(Sqlite3DB &db, const QDir &root, AttachmentFinder &finder, _MsgStore &store)
{
    if (!tableTexts(db).contains(u"msg_pieces"_s))
        return;
    PartFiles files(root);
    QSet<QString> guids;
    Sqlite3Cursor part = queryParts(db);
    for (qint64 rowid = firstRowid; part.moveNextThrow(); ++rowid) {
        _MsgMessage *message = store.messages.value(part.getInt64(0));
        if (!message || store.attachments.contains(rowid) || kindOf(part.getText(2)) != PartKind::File)
            continue;
        _MsgAttachment *attachment = attachmentOf(*message, part).release();
        while (guids.contains(attachment->guid)) // of a message that is like another
            attachment->guid = messageGuidFromData((attachment->guid + part.getText(0)).toUtf8());
        guids.insert(attachment->guid);
        attachment->rowid = rowid;
        store.attachments.insert(rowid, attachment);
        findFile(*attachment, part, finder, files);
        linkAttachment(message->attachments, *attachment);
    }
}
