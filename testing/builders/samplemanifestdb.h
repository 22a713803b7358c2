#pragma once

#include "testing/builders/samplembdb.h"
#include "testing/builders/samplesqlite.h"

/// A row of `Files` just as it stands; null texts and a null blob are written as NULL.
struct SampleManifestRow {
    QString fileID = {};
    QString domain = {};
    QString relativePath = {};
    int flags = 1;
    QByteArray file = {};
};

/// Writes Manifest.db, the list of a backup since iOS 10. All calls throw std::runtime_error.
class SampleManifestDb
{
public:
    /// Replaces a file at `path`.
    explicit SampleManifestDb(const QString &path);

    void add(const SampleRecord &record);
    void add(const SampleManifestRow &row);
    /// Completes the file.
    void finish();

private:
    SampleSqlite database;
    SampleStatement insertFile;
};
