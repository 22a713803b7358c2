#pragma once

#include "store/records/localfile.h"

#include <QDir>
#include <QSet>
#include <QString>

/// The files that a run copies into the folder of a database. They go again when the run fails.
class CopiedFiles
{
public:
    explicit CopiedFiles(const QDir &rootFolder) : root(rootFolder) {}

    /// Copies a file to a path below the root folder, which is made with its folders. False when that fails,
    /// which is logged. Throws the integer -1 when `progress`, if any, was cancelled.
    bool copy(const LocalFile &from, const QString &to, JobProgress *progress);
    /// The run has succeeded: all stay.
    void keep() { paths.clear(); }
    /// The run has failed: those that aren't `named` go, with the folders that are empty then. What can't be
    /// removed is logged.
    void removeBut(const QSet<QString> &named);

private:
    QDir root;
    QSet<QString> paths;
};
