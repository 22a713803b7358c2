#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <functional>

class JobProgress;

/// Packs a file, or a folder with all that is in it, into a zip file, which appears whole or not at all.
/// With a password each file is encrypted with AES-256; names and sizes stay readable. Names come in a
/// fixed order, and only what was written before `since` (such as attachments with the date of their message)
/// has a date: without a password the same files give the same bytes. Throws `std::runtime_error`, and the
/// integer -1 on cancel.
void packZip(const QString &source, const QString &zipPath, const QString &password, const QDateTime &since,
             JobProgress &progress);

/// Hands out each block of each file of a zip file. Throws `std::runtime_error` when it is damaged.
void readZip(const QString &path,
             const std::function<void(const QString &name, QByteArrayView block)> &visit);
