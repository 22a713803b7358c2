#pragma once

#include <QDir>

/// The folder in which phones are backed up before they are read or written: one folder a phone below it.
/// The volume with the most room is chosen once and remembered until the cache is cleared. The folder
/// itself isn't made.
QDir iosBackupTempDir();

/// Removes that folder and forgets the choice. An empty or missing one is no failure.
void clearIosBackupTemp();

/// Root of the volume to choose where no choice is remembered: fixed, writable, with the most free bytes.
QString roomiestVolume();

/// Whether a remembered choice still says which volume it means; that volume's root, else empty.
QString rememberedVolume(const QString &text);
