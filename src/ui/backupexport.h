#pragma once

#include "messagerecords.h"

#include <QList>

class QWidget;

/// Writes messages into an iTunes backup that the person picks, and tells how many. Modal, over `window`.
/// Throws `std::runtime_error`; what a job says of itself, its dialog has shown. The records have to last
/// until it returns.
void exportToItunesBackup(const QList<_MsgMessage *> &messages, QWidget *window);
