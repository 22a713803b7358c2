#pragma once

#include "testing/fakephone/stream.h"

#include <QDir>
#include <QStringList>
#include <QVariantMap>

#include <atomic>
#include <mutex>

/// How a service treats whoever asks it.
enum class Manners {
    Good,
    ShortFrame,      ///< two bytes of a length, then the end
    HugeLength,      ///< promises four gigabytes and sends nothing more
    Silence,         ///< takes the connection and never says a word
    ClosesInMessage, ///< half a message, then the end
    WrongType,       ///< answers with a number where a message belongs
};

/// What the owner of the phone says when a computer asks to be trusted.
enum class Trust { Given, Refused, NotAnswered, PasscodeWanted };

/// A made phone: what it tells about itself, its files, and how it behaves. Set it up before it is plugged
/// in; afterwards only the members with a lock or an atomic may be touched.
struct FakePhone {
    explicit FakePhone(const QString &identifier);

    QString udid;
    QVariantMap values;                 ///< of the lockdown domain without a name
    QMap<QString, QVariantMap> domains; ///< the named ones
    std::atomic<Trust> trust = Trust::Given;
    bool isPairedAlready = false; ///< knows this computer as any other phone does that was paired with it
    bool sessionsAreEnciphered = true;
    bool servicesAreEnciphered = false;
    bool speaksOldTls = false;          ///< 1.0 and no other
    bool isImpostor = false;            ///< shows a certificate of its own in enciphered services
    std::atomic<bool> isSilent = false; ///< a service has stopped to speak without an end
    QStringList missingServices;
    QMap<QString, Manners> manners; ///< by name of service

    QDir media;                     ///< what AFC shows
    QMap<QString, QDir> containers; ///< by bundle identifier
    QByteArray relayArchive;        ///< what file relay sends
    qint64 relayBytes = 0;          ///< with no archive: that many bytes of nothing
    QDir backup;                    ///< the folder that a backup of this phone is
    QDir restored;                  ///< where a restore arrives
    QString backupRefusal;          ///< why it gives none
    QString restoreRefusal;         ///< why it takes none
    int refusalCode = 1;            ///< of either
    QList<QVariantMap> syncRecords;
    QStringList relayedNotifications; ///< those that happen as soon as somebody waits for them

    /// What happens before it sends its piece number `turn`, counted from 1 over all its connections.
    std::function<void()> atTurn;
    std::atomic_int turn = 0;
    std::atomic_int piecesSent = 0;

    /// Names of notifications that programs posted, and of values that they set.
    QStringList posted() const;
    void notePosted(const QString &name);

    /// How its services speak TLS to the computer that opened a session last.
    TlsManners tlsManners() const;
    void noteSession(const Pairing &pairing);

private:
    mutable std::mutex mutex; // over what follows
    Pairing lastSession;
    QStringList postedNames;
};

/// Speaks the lockdown protocol until the other side goes, enciphered while a session is open.
void serveLockdown(FakePhone &phone, int descriptor);
/// Has the stream tell the phone of its turns.
void countTurns(FakePhone &phone, Stream &stream);

/// The port of a service, 0 for an unknown one, and the other way round.
quint16 servicePort(const QString &name);
QString serviceOfPort(quint16 port);

/// Speaks the protocol of a service.
void serveService(FakePhone &phone, const QString &name, Stream &stream);

/// Opens a device link.
void openLink(Stream &stream);

// Those with files of their own.
void serveAfc(const QDir &root, Stream &stream);
void serveHouseArrest(FakePhone &phone, Stream &stream);
void serveBackup(FakePhone &phone, Stream &stream);
