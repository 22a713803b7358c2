#include "device/clients/afcconnection.h"

#include "app/boundedbytes.h"
#include "device/clients/afcpackets.h"
#include "device/devicesession.h"
#include "device/servicemessages.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 largestRead = 65536;  // bytes
constexpr qint64 largestWrite = 32768; // bytes

/// `failure` when `work` throws; the log keeps why.
template <typename Result, typename Work>
Result orFailure(Result failure, Work work)
{
    try {
        return work();
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        return failure;
    }
}

QStringList namesIn(const QByteArray &payload)
{
    QStringList names;
    for (const QByteArray &name : payload.split('\0')) {
        if (!name.isEmpty())
            names.append(QString::fromUtf8(name));
    }
    return names;
}

void vendContainer(int socket, const QString &bundleIdentifier)
{
    CFType request = CFType::newDictionary();
    request.setDictionaryValue(CFType::fromString(u"Command"_s), CFType::fromString(u"VendContainer"_s));
    request.setDictionaryValue(CFType::fromString(u"Identifier"_s), CFType::fromString(bundleIdentifier));
    mobiledevice_sendmsg(socket, request, false, serviceTimeoutMs);
    const CFType reply = mobiledevice_recmsg(socket, request, serviceTimeoutMs);
    if (!reply.isDictionary() || reply.dictionaryValue(u"Error"_s).ref())
        throw std::runtime_error(u"can not find %1."_s.arg(bundleIdentifier).toStdString());
}

QString below(const QString &folder, const QString &name)
{
    return folder + QLatin1StringView(folder.endsWith(u'/') ? "" : "/") + name;
}

qint64 readAll(const AfcFile &file, char *data, qint64 length)
{
    qint64 total = 0;
    while (total < length) {
        const qint64 wanted = std::min(length - total, largestRead);
        sendAfc(file.connection, AfcOperation::ReadFile, afcNumber(file.handle) + afcNumber(quint64(wanted)));
        const qint64 came = receiveAfcData(file.connection, data + total, wanted);
        total += came;
        if (came < wanted)
            break;
    }
    return total;
}

qint64 writeAll(const AfcFile &file, const char *data, qint64 length)
{
    for (qint64 total = 0; total < length; total += largestWrite) {
        const QByteArrayView piece(data + total, std::min(length - total, largestWrite));
        sendAfc(file.connection, AfcOperation::WriteFile, afcNumber(file.handle), piece);
        receiveAfc(file.connection, AfcOperation::WriteFile);
    }
    return length;
}

} // namespace

qint64 AfcFile::read(char *data, qint64 length)
{
    return orFailure<qint64>(-1, [&] { return readAll(*this, data, length); });
}

qint64 AfcFile::write(const char *data, qint64 length)
{
    return orFailure<qint64>(-1, [&] { return writeAll(*this, data, length); });
}

qint64 AfcFile::control(quint64 argument)
{
    quint64 status = 0;
    const qint64 failure = orFailure<qint64>(-1, [&] {
        sendAfc(connection, AfcOperation::FileControl, afcNumber(handle) + afcNumber(argument));
        receiveAfc(connection, AfcOperation::FileControl, &status);
        return 0;
    });
    return status == 0 ? failure : qint64(status);
}

int AfcFile::close()
{
    if (handle == 0)
        return 0;
    const quint64 closing = std::exchange(handle, 0);
    return orFailure(-1, [&] {
        askAfc(connection, AfcOperation::CloseFile, afcNumber(closing));
        return 0;
    });
}

void AfcConnection::connect(const QString &bundleIdentifier)
{
    close();
    if (bundleIdentifier.isEmpty()) {
        mobiledevice_start_service(device, "com.apple.afc", socket.target());
        return;
    }
    mobiledevice_start_service(device, "com.apple.mobile.house_arrest", socket.target());
    try {
        vendContainer(socket.descriptor(), bundleIdentifier);
    } catch (...) {
        close(); // a connection without a folder answers nothing
        throw;
    }
}

AfcFile AfcConnection::open(const QString &path, AfcMode mode)
{
    return orFailure(AfcFile(), [&] {
        const QByteArray reply =
            askAfc(socket.descriptor(), AfcOperation::OpenFile, afcNumber(quint64(mode)) + afcPath(path));
        return AfcFile{socket.descriptor(), readLittleEndian<quint64>(reply).value_or(0)};
    });
}

bool AfcConnection::makeDirectory(const QString &path)
{
    return orFailure(false, [&] {
        askAfc(socket.descriptor(), AfcOperation::MakeDirectory, afcPath(path));
        return true;
    });
}

bool AfcConnection::removePath(const QString &path)
{
    return orFailure(false, [&] {
        askAfc(socket.descriptor(), AfcOperation::RemovePath, afcPath(path));
        return true;
    });
}

bool AfcConnection::rename(const QString &from, const QString &to)
{
    return orFailure(false, [&] {
        askAfc(socket.descriptor(), AfcOperation::Rename, afcPath(from) + afcPath(to));
        return true;
    });
}

QStringList AfcConnection::list(const QString &path)
{
    return namesIn(askAfc(socket.descriptor(), AfcOperation::ReadDirectory, afcPath(path)));
}

AfcFileInfo AfcConnection::fileInfo(const QString &path)
{
    const QByteArray reply = askAfc(socket.descriptor(), AfcOperation::FileInformation, afcPath(path));
    const QList<QByteArray> words = reply.split('\0');
    QHash<QByteArray, QString> facts;
    for (qsizetype i = 0; i + 1 < words.size(); i += 2)
        facts.insert(words.at(i), QString::fromUtf8(words.at(i + 1)));
    constexpr qint64 nanosecondsPerMs = 1'000'000;
    AfcFileInfo info;
    info.name = path.section(u'/', -1);
    info.type = facts.value("st_ifmt");
    info.size = facts.value("st_size").toLongLong();
    info.modified = QDateTime::fromMSecsSinceEpoch(facts.value("st_mtime").toLongLong() / nanosecondsPerMs);
    return info;
}

QList<AfcFileInfo> AfcConnection::listInfo(const QString &path)
{
    QList<AfcFileInfo> infos;
    for (const QString &name : list(path)) {
        if (name == "."_L1 || name == ".."_L1)
            continue;
        const AfcFileInfo info = fileInfo(below(path, name));
        if (info.isFile() || info.isDirectory())
            infos.append(info);
    }
    return infos;
}
