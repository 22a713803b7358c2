#pragma once

#include "messagerecords.h"

#include <QList>

#include <optional>

class BackupManifest;
class QWidget;

/// Writes messages into an iTunes backup that the person picks, and tells how many. Modal, over `window`.
/// Throws `std::runtime_error`; what a job says of itself, its dialog has shown. The records have to last
/// until it returns.
void exportToItunesBackup(const QList<_MsgMessage *> &messages, QWidget *window);

/// Writes messages into the backup of `manifest`, whose constructor was all that was called. The sentence
/// that tells the person how many went in, or nothing when a step failed or was cancelled. As above
/// otherwise.
std::optional<QString> writeIntoBackup(const QList<_MsgMessage *> &messages, BackupManifest &manifest,
                                       QWidget *window);
