#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Packets of Apple File Conduit over the socket of a service. Integers are little-endian. All throw
// `std::runtime_error` when a packet doesn't come or go whole, or the phone refuses.

enum class AfcOperation : quint64 {
    Status = 1,
    Data = 2,
    ReadDirectory = 3,
    RemovePath = 8,
    MakeDirectory = 9,
    FileInformation = 10,
    OpenFile = 13,
    FileOpened = 14,
    ReadFile = 15,
    WriteFile = 16,
    CloseFile = 20,
    Rename = 24,
    FileControl = 27,
};

/// Sends a packet: header, `parameters`, then `data` behind them.
void sendAfc(int socket, AfcOperation operation, const QByteArray &parameters, QByteArrayView data = {});

/// Receives the answer to `asked`: what a data packet carries, or the one that says that a file is open;
/// nothing for the status of success. `status`, unless null, gets the status that came, also a refusal
/// before it is thrown.
QByteArray receiveAfc(int socket, AfcOperation asked, quint64 *status = nullptr);

/// Receives the answer to a request for `length` bytes of a file into `target`. Returns how many came.
qint64 receiveAfcData(int socket, char *target, qint64 length);

/// `sendAfc` and its answer.
QByteArray askAfc(int socket, AfcOperation operation, const QByteArray &parameters);

/// Eight bytes of a number, and a path with its NUL, as parameters hold them.
QByteArray afcNumber(quint64 number);
QByteArray afcPath(const QString &path);
