#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A record of Manifest.mbdb as it lies in the file. Strings are raw bytes: a null QByteArray is written
/// as the file's null (length 0xFFFF), an empty one with length 0.
struct SampleRecord {
    struct Property {
        QByteArray name;
        QByteArray value;
    };

    QByteArray domain = {};
    QByteArray path = {};
    QByteArray linkTarget = {};
    QByteArray dataHash = {};
    QByteArray encryptionKey = {};
    quint16 mode = 0100644;
    quint64 inode = 0;
    quint32 userId = 501;
    quint32 groupId = 501;
    quint32 mtime = 0; ///< seconds since 1970, as the two below
    quint32 atime = 0;
    quint32 ctime = 0;
    quint64 fileLength = 0;
    quint8 protectionClass = 0;
    QList<Property> properties = {};

    // Only what Manifest.db lists has these.
    QByteArray extendedAttributes = {}; ///< null: none
    quint32 birth = 0;                  ///< seconds since 1970; 0: as `ctime`
};

/// The bytes of one record. Throws std::runtime_error for a string of more than 65,534 bytes.
QByteArray sampleRecordBytes(const SampleRecord &record);

/// "mbdb", 5, 0: what a file begins with.
QByteArray sampleMbdbHeader();

/// The name under which a backup folder holds a file: SHA-1 of domain, "-", path in hex.
QString sampleHashedName(const QByteArray &domain, const QByteArray &path);
