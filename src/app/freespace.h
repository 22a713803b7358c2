#pragma once

#include <QString>

/// A size for people: "1.2 MB". Negative sizes, which only damaged files hold, read as 0.
QString sizeText(qint64 bytes);

/// Throws `std::runtime_error`, with what is needed and what is free, when the disk of `folder` lacks free
/// space for `bytes` more. The folder needn't exist yet.
void checkFreeSpaceThrow(const QString &folder, qint64 bytes);
