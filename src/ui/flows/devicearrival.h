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
};

/// Brings the messages of the phone behind `handle` into its cache folder, with all that has to be asked of
/// the person. Nothing when a step failed or was cancelled; the person knows. Modal over `window`. Throws
/// `std::runtime_error`.
std::optional<ReadPhone> readPhone(void *handle, QWidget *window);
