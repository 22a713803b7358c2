#include "testing/fakephone/fakephone.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint64 objectNotFound = 8;
constexpr quint64 unknownError = 1;

QByteArray number(quint64 value)
{
    const quint64 little = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char *>(&little), sizeof little);
}

quint64 numberAt(const QByteArray &bytes, qsizetype at)
{
    return bytes.size() >= at + 8 ? qFromLittleEndian<quint64>(bytes.constData() + at) : 0;
}

/// A file tree behind Apple File Conduit.
class AfcServer
{
public:
    AfcServer(const QDir &folder, Stream &end) : root(folder), stream(end) {}

    void serveOne()
    {
        const QByteArray header = stream.receive(40);
        const qsizetype here = qsizetype(numberAt(header, 16)) - 40;
        const QByteArray rest = stream.receive(qsizetype(numberAt(header, 8)) - 40);
        packet = numberAt(header, 24);
        handle(numberAt(header, 32), rest.left(here), rest.mid(here));
    }

private:
    QString path(const QByteArray &parameters, qsizetype at = 0) const
    {
        return root.absolutePath() + u'/' + QString::fromUtf8(parameters.constData() + at);
    }

    QByteArray header(quint64 operation, qsizetype parameters, qsizetype data) const
    {
        const quint64 here = 40 + quint64(parameters);
        return "CFA6LPAA" + number(here + quint64(data)) + number(here) + number(packet) + number(operation);
    }
    void status(quint64 code) { stream.send(header(1, 8, 0) + number(code)); }
    void done(bool success) { status(success ? 0 : unknownError); }
    void data(const QByteArray &bytes) { stream.send(header(2, 0, bytes.size()) + bytes); }

    /// The buffer stays: a new one for each piece costs more than the piece.
    void read(QFile &file, qint64 length)
    {
        piece.resize(40 + length);
        piece.resize(40 + file.read(piece.data() + 40, length));
        piece.replace(0, 40, header(2, 0, piece.size() - 40));
        stream.send(piece);
    }

    void list(const QString &folder)
    {
        QByteArray names;
        for (const QString &name : QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System))
            names += name.toUtf8() + '\0';
        QFileInfo::exists(folder) ? data(names) : status(objectNotFound);
    }

    void describe(const QString &file)
    {
        const QFileInfo info(file);
        if (!info.exists())
            return status(objectNotFound);
        const qint64 modified = info.lastModified().toMSecsSinceEpoch() * 1'000'000;
        const QByteArrayList words = {"st_size",  QByteArray::number(info.size()),
                                      "st_ifmt",  info.isDir() ? "S_IFDIR" : "S_IFREG",
                                      "st_mtime", QByteArray::number(modified)};
        data(words.join('\0') + '\0');
    }

    void open(const QByteArray &parameters)
    {
        auto file = std::make_shared<QFile>(path(parameters, 8));
        const bool isReading = numberAt(parameters, 0) == 1;
        if (!file->open((isReading ? QIODevice::ReadOnly : QIODevice::WriteOnly) | QIODevice::Unbuffered))
            return status(objectNotFound);
        files.insert(++lastHandle, file);
        stream.send(header(14, 8, 0) + number(lastHandle));
    }

    void handle(quint64 operation, const QByteArray &parameters, const QByteArray &content)
    {
        const std::shared_ptr<QFile> file = files.value(numberAt(parameters, 0));
        switch (operation) {
        case 3: return list(path(parameters));
        case 8:
            return done(QFileInfo(path(parameters)).isDir() ? QDir().rmdir(path(parameters))
                                                            : QFile::remove(path(parameters)));
        case 9: return done(QDir().mkpath(path(parameters)));
        case 10: return describe(path(parameters));
        case 13: return open(parameters);
        case 15: return file ? read(*file, qint64(numberAt(parameters, 8))) : status(objectNotFound);
        case 16: return done(file && file->write(content) == content.size());
        case 20: return done(files.remove(numberAt(parameters, 0)) > 0);
        case 24:
            return done(QFile::rename(path(parameters),
                                      path(parameters, qsizetype(strlen(parameters.constData())) + 1)));
        case 27: return status(file ? 0 : objectNotFound); // a lock
        default: return status(unknownError);
        }
    }

    QDir root;
    Stream &stream;
    QByteArray piece;
    quint64 packet = 0;
    quint64 lastHandle = 0;
    QMap<quint64, std::shared_ptr<QFile>> files;
};

} // namespace

void serveAfc(const QDir &root, Stream &stream)
{
    AfcServer server(root, stream);
    while (true)
        server.serveOne();
}

void serveHouseArrest(FakePhone &phone, Stream &stream)
{
    const QString identifier = stream.receiveList().toMap().value(u"Identifier"_s).toString();
    if (!phone.containers.contains(identifier)) {
        stream.sendList(QVariantMap{{u"Error"_s, u"ApplicationLookupFailed"_s}});
        return;
    }
    stream.sendList(QVariantMap{{u"Status"_s, u"Complete"_s}});
    serveAfc(phone.containers.value(identifier), stream);
}
