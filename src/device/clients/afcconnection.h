#pragma once

#include "device/servicesocket.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

/// What the phone tells about a file or folder.
struct AfcFileInfo {
    QString name;
    qint64 size = 0; ///< bytes
    QDateTime modified;
    QString type; ///< such as "S_IFREG"

    bool isFile() const { return type.compare(QLatin1StringView("S_IFREG"), Qt::CaseInsensitive) == 0; }
    bool isDirectory() const { return type.compare(QLatin1StringView("S_IFDIR"), Qt::CaseInsensitive) == 0; }
};

enum class AfcMode : quint64 { Read = 1, Write = 3 };

/// An open file on the phone. Nothing throws; a failure is -1. Close it before its connection goes.
struct AfcFile {
    int connection = 0;
    quint64 handle = 0; ///< 0 when closed

    /// Up to `length` bytes into `data`; returns how many came, fewer only at the end of the file.
    qint64 read(char *data, qint64 length);
    /// Returns `length`, or -1.
    qint64 write(const char *data, qint64 length);
    /// Hands `argument` to the phone's file system. Its status, 0 for success, or -1 without an answer.
    qint64 control(quint64 argument);
    /// 0, or -1.
    int close();
};

/// The phone's media folder, or the folder of one app, over Apple File Conduit. It blocks; one thread at a
/// time uses a connection.
class AfcConnection
{
public:
    explicit AfcConnection(void *handle) : device(handle) {}

    /// An empty identifier is the media folder. Throws `std::runtime_error`.
    void connect(const QString &bundleIdentifier);
    void close() { socket.close(); }

    /// A closed file when the phone doesn't open it.
    AfcFile open(const QString &path, AfcMode mode);
    AfcFile openRead(const QString &path) { return open(path, AfcMode::Read); }
    AfcFile openWrite(const QString &path) { return open(path, AfcMode::Write); }

    // False when the phone refuses or can't be reached.
    bool makeDirectory(const QString &path);
    bool removePath(const QString &path);
    bool rename(const QString &from, const QString &to);

    // These throw `std::runtime_error` when the phone refuses or can't be reached.
    QStringList list(const QString &path);
    AfcFileInfo fileInfo(const QString &path);
    /// Files and folders of a folder, without "." and "..".
    QList<AfcFileInfo> listInfo(const QString &path);

private:
    void *device;
    ServiceSocket socket;
};
