#pragma once

#include "ui/models/messagelist.h"

class QWidget;
class SourcePane;

/// Writes messages to a phone that the person picks among those in the tree, and tells how many: backs the
/// phone up, writes into that backup, and restores it. Modal over `window`. Throws `std::runtime_error`;
/// what a job says of itself, its dialog has shown.
void transferToPhone(const MessageList &list, SourcePane &sources, QWidget *window);
