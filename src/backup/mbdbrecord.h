#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A string of "Manifest.mbdb": a 16-bit length and that many bytes. 0xFFFF is the file's null; it and
/// 0 have no bytes. The length stays as read, so that a record written back keeps the difference.
struct _MbdbString {
    quint16 length = 0xFFFF;
    QByteArray bytes;

    bool isPresent() const { return quint16(length - 1) < 0xFFFE; }
    /// The bytes as UTF-8 up to the first zero byte; empty when the string is absent.
    QString text() const;

    friend bool operator==(const _MbdbString &, const _MbdbString &) = default;
};

/// A named value that a record carries.
struct _MbdbProperty {
    _MbdbString name;
    _MbdbString value;

    friend bool operator==(const _MbdbProperty &, const _MbdbProperty &) = default;
};

/// One file, folder or link of the phone, in the order of the file's fields. Times are seconds since
/// 1970-01-01 UTC.
struct _MbdbRecord {
    _MbdbString domain;        ///< such as "HomeDomain", or "AppDomain-" and an application's name
    _MbdbString path;          ///< inside the domain, without a leading slash
    _MbdbString linkTarget;    ///< target of a symbolic link
    _MbdbString dataHash;      ///< SHA-1 of the content; nobody checks it
    _MbdbString encryptionKey; ///< 4 bytes and the wrapped key of an encrypted file
    quint16 mode = 0;
    quint32 inodeHigh = 0;
    quint32 inodeLow = 0;
    quint32 userId = 0;
    quint32 groupId = 0;
    quint32 mtime = 0;
    quint32 atime = 0;
    quint32 ctime = 0;
    quint64 fileLength = 0; ///< bytes of the plain file
    quint8 protectionClass = 0;
    QList<_MbdbProperty> properties;
    QByteArray fileId;   ///< name of the file in the backup, where the list tells it; else it follows
    bool isFile = false; ///< the list says that this is a file, however long

    friend bool operator==(const _MbdbRecord &, const _MbdbRecord &) = default;
};

/// Name of the file inside the backup folder that holds `path` of `domain`: 40 lower-case hex digits,
/// the SHA-1 of domain, "-" and path.
QString mbdbFileName(const QString &domain, const QString &path);
QString recordFileName(const _MbdbRecord &record);

/// Whether `record` stands for a folder: no length and no link target. An empty file looks the same in a
/// list that doesn't tell files apart.
bool isEmptyEntry(const _MbdbRecord &record);
