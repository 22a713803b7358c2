#pragma once

#include <QDir>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

class JobProgress;

// Folders that prove what is in them: bags by RFC 8493 (BagIt) with SHA-256. What is proven lies below
// "data"; the tool sha256sum can check the manifests as well.

/// The one file of a bag that no manifest lists: it tells of the run that made it, and differs each time.
inline constexpr auto bagRunFile = "run.txt";

/// Makes a bag of `folder`, whose "data" is filled: writes manifests, declaration and `info`. Throws
/// `std::runtime_error`, and the integer -1 on cancel.
void finishBag(const QDir &folder, const QList<std::pair<QString, QString>> &info, JobProgress &progress);

/// What came of checking a bag. Names are those of the manifests.
struct BagCheck {
    qsizetype files = 0; ///< that the manifests list
    QStringList changed;
    QStringList missing;
    QStringList extra; ///< that they don't

    bool isWhole() const { return changed.isEmpty() && missing.isEmpty() && extra.isEmpty(); }
};

/// Compares every file of a bag with its manifests. Throws `std::runtime_error` for a folder that is no bag
/// and a manifest that can't be read, and the integer -1 on cancel.
BagCheck checkBag(const QDir &folder, JobProgress &progress);

/// `name` as that of a file in a bag: one component that stays readable for all tools.
QString bagFileName(const QString &name);
