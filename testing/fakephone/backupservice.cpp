#include "testing/fakephone/fakephone.h"

#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

namespace
{

constexpr char codeSuccess = 0;
constexpr char codeData = 0x0c;
constexpr qsizetype blockSize = 256 * 1024;
constexpr qsizetype filesAtOnce = 20;

void respond(Stream &stream, QVariantMap answer, int code = 0)
{
    answer.insert(u"MessageName"_s, u"Response"_s);
    answer.insert(u"ErrorCode"_s, code);
    stream.sendBinaryList(QVariantList{u"DLMessageProcessMessage"_s, answer});
}

/// The phone's side of a backup or restore: it asks for files and folders of the computer, step by step.
class BackupRun
{
public:
    BackupRun(FakePhone &ofPhone, Stream &end) : phone(ofPhone), stream(end) {}

    void backUp()
    {
        if (!phone.backupRefusal.isEmpty())
            return refuse(phone.backupRefusal);
        ask(QVariantList{u"DLMessageCreateDirectory"_s, phone.udid, QVariantMap()});
        QDirIterator files(phone.backup.absolutePath(), QDir::AllEntries | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        QStringList names;
        while (files.hasNext()) {
            files.next();
            const QString name = phone.backup.relativeFilePath(files.filePath());
            if (files.fileInfo().isDir())
                ask(QVariantList{u"DLMessageCreateDirectory"_s, QString(phone.udid + u'/' + name),
                                 QVariantMap()});
            else if (name != u"Info.plist"_s) // the computer writes that one
                names.append(name);
        }
        for (qsizetype done = 0; done < names.size(); done += filesAtOnce)
            upload(names.mid(done, filesAtOnce), 100.0 * double(done) / double(names.size()));
        finish();
    }

    void restore()
    {
        if (!phone.restoreRefusal.isEmpty())
            return refuse(phone.restoreRefusal);
        const QVariantMap found = ask(QVariantList{u"DLContentsOfDirectory"_s, phone.udid}).value(3).toMap();
        fetch(phone.udid, found);
        finish();
    }

    void finish()
    {
        respond(stream, {{u"ErrorDescription"_s, u""_s}});
        stream.sendBinaryList(QVariantList{u"DLMessageDisconnect"_s, u"done"_s});
    }

private:
    QVariantList ask(const QVariantList &request)
    {
        stream.sendBinaryList(request);
        return stream.receiveList().toList();
    }

    void sendName(const QString &name)
    {
        const QByteArray utf8 = name.toUtf8();
        stream.send(bigEndian(quint32(utf8.size())) + utf8);
    }

    void sendBlock(char code, const QByteArray &data)
    {
        stream.send(bigEndian(quint32(data.size()) + 1) + code);
        stream.send(data);
    }

    void refuse(const QString &reason)
    {
        respond(stream, {{u"ErrorDescription"_s, reason}}, phone.refusalCode);
    }

    void upload(const QStringList &names, double percent)
    {
        stream.sendBinaryList(QVariantList{u"DLMessageUploadFiles"_s, QVariantMap(), percent, 0});
        for (const QString &name : names) {
            QFile file(phone.backup.filePath(name));
            if (!file.open(QIODevice::ReadOnly))
                throw Closed();
            sendName(name);
            sendName(QString(phone.udid + u'/' + name));
            while (!file.atEnd())
                sendBlock(codeData, file.read(blockSize));
            sendBlock(codeSuccess, {});
        }
        stream.send(bigEndian(0));
        stream.receiveList();
    }

    /// Files that the computer has, by folder.
    void fetch(const QString &folder, const QVariantMap &entries)
    {
        QVariantList files;
        for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
            const QString path = folder + u'/' + it.key();
            const QString type = it.value().toMap().value(u"DLFileType"_s).toString();
            if (type == u"DLFileTypeDirectory"_s)
                fetch(path, ask(QVariantList{u"DLContentsOfDirectory"_s, path}).value(3).toMap());
            else
                files.append(path);
        }
        if (!files.isEmpty())
            download(files);
    }

    void download(const QVariantList &files)
    {
        stream.sendBinaryList(QVariantList{u"DLMessageDownloadFiles"_s, files, QVariantMap(), 0.0});
        while (const quint32 length = bigEndian(stream.receive(4)))
            receiveFile(QString::fromUtf8(stream.receive(length)));
        stream.receiveList();
    }

    void receiveFile(const QString &path)
    {
        const QString name = path.section(u'/', 1);
        if (name.isEmpty()) // the tool was asked to end and sent a message instead
            throw Closed();
        const QString target = phone.restored.filePath(name);
        QDir().mkpath(QFileInfo(target).absolutePath());
        QFile file(target);
        const bool isOpen = file.open(QIODevice::WriteOnly);
        while (true) {
            const quint32 length = bigEndian(stream.receive(4));
            const char code = stream.receive(1).at(0);
            const QByteArray data = stream.receive(length - 1);
            if (code != codeData)
                return;
            if (isOpen)
                file.write(data);
        }
    }

    FakePhone &phone;
    Stream &stream;
};

} // namespace

void serveBackup(FakePhone &phone, Stream &stream)
{
    openLink(stream);
    while (true) {
        const QVariantMap request = stream.receiveList().toList().value(1).toMap();
        const QString name = request.value(u"MessageName"_s).toString();
        BackupRun run(phone, stream);
        if (name == u"Hello"_s)
            respond(stream, {{u"ProtocolVersion"_s, 2.1}});
        else if (name == u"Backup"_s)
            return run.backUp();
        else if (name == u"Restore"_s)
            return run.restore();
        else
            respond(stream, {{u"Request"_s, request}});
    }
}
