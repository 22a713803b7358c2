#pragma once

#include "export/exportmessages.h"

#include <QDir>
#include <QHash>
#include <QStringList>

/// The folder that an export fills. Nothing that stands in it is touched. If it goes without `keep`, it
/// does with its files what it was told.
class ExportFolder
{
public:
    /// Makes the folder if it is missing, and those above it. Throws when it can't.
    ExportFolder(const QString &path, FinishedFiles afterFailure);
    ExportFolder(const ExportFolder &) = delete;
    ExportFolder &operator=(const ExportFolder &) = delete;
    ~ExportFolder();

    /// A path that isn't taken: `name` and `suffix`, where needed with a number between them. Write the
    /// file before you ask for the next one.
    QString newFile(const QString &name, const QString &suffix);
    /// Makes a folder in it, if it is missing; `name` may hold several, parted by "/".
    void addFolder(const QString &name) { makeFolder(folder.filePath(name)); }
    /// Makes the folder "files" and copies into it "bubble" and "emoji" from beside the program, as far
    /// as they are there.
    void addStyleFiles();
    /// The export is complete.
    void keep() { kept = true; }

private:
    void makeFolder(const QString &path);
    void copyFolder(const QDir &source, const QString &target);
    void removeAll();

    QDir folder;
    FinishedFiles afterFailure;
    bool kept = false;
    QStringList madeFiles;
    QStringList madeFolders; ///< outer ones first
    QHash<QString, qint64> lastNumbers;
};
