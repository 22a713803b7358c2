#pragma once

#include "ui/models/messagelist.h"

#include <optional>

class BackupManifest;
class QWidget;

/// Writes messages into an iTunes backup that the person picks, and tells how many. Modal, over `window`.
/// Throws `std::runtime_error`; what a job says of itself, its dialog has shown.
void exportToItunesBackup(const MessageList &list, QWidget *window);

/// Writes messages into the backup of `manifest`, whose constructor was all that was called. The sentence
/// that tells the person how many went in, or nothing when a step failed or was cancelled. As above
/// otherwise.
std::optional<QString> writeIntoBackup(const MessageList &list, BackupManifest &manifest, QWidget *window);
