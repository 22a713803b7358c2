#pragma once

#include "device/iosdevice.h"
#include "store/readers/absmessagedb.h"

#include <QSharedPointer>

#include <optional>

class QWidget;

/// A phone whose messages lie in its cache folder.
struct ReadPhone {
    IOSDevice device;
    QSharedPointer<AbsIOSMessageDb> db;
    qint64 backupBytes = 0; ///< of the backup that stays behind; 0 for none
};

/// Brings the messages of the phone behind `handle` into its cache folder, with all that has to be asked of
/// the person. Nothing when a step failed or was cancelled; the person knows. Modal over `window`. Throws
/// `std::runtime_error`.
std::optional<ReadPhone> readPhone(void *handle, QWidget *window);
