#pragma once

#include <QDir>
#include <QString>

#include <optional>

// A phone names the file of an attachment by its path: "~/Library/SMS/..." or "/var/mobile/Library/SMS/...".

/// The path below the root folder at which a Local Database keeps the attachment that the phone calls
/// `filename`, unless it would leave that folder.
QString pathBelowRoot(const QString &filename);

/// Where a Local Database with this root folder keeps the attachment that the phone calls `filename`.
/// Nothing when the path would leave the folder.
std::optional<QString> attachmentTarget(const QDir &root, const QString &filename);

/// Path of that attachment's file below the root folder of any source: the phone's own tree, what a Local
/// Database keeps, or "Attachments" beside a message database alone. Empty when there is no such file.
QString attachmentFile(const QDir &root, const QString &filename);
