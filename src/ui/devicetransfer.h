#pragma once

#include "messagerecords.h"

#include <QList>

class QWidget;
class SourcePane;

/// Writes messages to a phone that the person picks among those in the tree, and tells how many: backs the
/// phone up, writes into that backup, and restores it. Modal over `window`. Throws `std::runtime_error`;
/// what a job says of itself, its dialog has shown. The records have to last until it returns.
void transferToPhone(const QList<_MsgMessage *> &messages, SourcePane &sources, QWidget *window);
