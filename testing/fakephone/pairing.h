#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <memory>
#include <optional>

struct evp_pkey_st;

/// What a computer and a phone agreed on: who the computer is, and the certificates, in PEM form.
struct Pairing {
    QString hostId;
    QByteArray deviceCertificate;
    QByteArray hostCertificate;
    QByteArray rootCertificate;
};

/// The key of all made phones of this process; made on first use.
evp_pkey_st *phoneKey();
/// Its public half as a phone tells it: PEM of PKCS #1.
QByteArray phonePublicKey();

/// Keeps what a computer proposes. Phones of one process share their pairings: making keys takes a second.
void keepPairing(const QVariantMap &record);
std::optional<Pairing> pairingWith(const QString &hostId);
