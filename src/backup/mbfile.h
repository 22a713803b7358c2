#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// What the list of a newer backup keeps of one file beside its name. Times are seconds since 1970-01-01
/// UTC; what is missing is 0 or empty.
struct MbFile {
    quint64 size = 0; ///< about one in a hundred is wrong, of databases mostly
    quint16 mode = 0; ///< of POSIX, with the bits of the type
    quint64 inode = 0;
    quint32 userId = 0;
    quint32 groupId = 0;
    quint32 lastModified = 0;
    quint32 lastStatusChange = 0;
    quint32 birth = 0;
    quint8 protectionClass = 0;
    QByteArrayView encryptionKey; ///< 4 bytes of class and the wrapped key
    QByteArrayView digest;        ///< SHA-1 of the content
    QByteArray target;            ///< of a symbolic link, UTF-8
};

/// Takes the "MBFile" object out of an archive that NSKeyedArchiver made: a binary property list of an
/// array "$objects" whose entries refer to each other by UID. Nothing when there is no such object. The
/// views point into `bytes`.
std::optional<MbFile> readMbFile(QByteArrayView bytes);
