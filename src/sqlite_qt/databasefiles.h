#pragma once

#include <QLatin1StringView>
#include <QString>

#include <array>

/// Endings of the files that SQLite keeps beside a database: the write-ahead log and the journal hold
/// content, the shared memory of the log doesn't.
inline constexpr std::array companionSuffixes = {QLatin1StringView("-wal"), QLatin1StringView("-journal"),
                                                 QLatin1StringView("-shm")};

/// The first of these.
inline constexpr std::array contentSuffixes = {companionSuffixes[0], companionSuffixes[1]};

/// Whether SQLite has left a write-ahead log or a journal beside the database at `path`, so that its main
/// file alone isn't the whole truth.
bool hasLogOrJournal(const QString &path);

/// Copies a database with its log or journal to `target`, where nothing stands yet; the copies can be
/// written. Hands back why that failed, or null.
[[nodiscard]] QString copyDatabase(const QString &source, const QString &target);
