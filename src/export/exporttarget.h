#pragma once

#include <QSaveFile>
#include <QString>
#include <QTextStream>

/// The file that a writer fills with UTF-8 text. What stood under its name before stays until `finish`:
/// a run that fails, is cancelled or killed leaves no torn file and takes none away.
class ExportTarget
{
public:
    explicit ExportTarget(const QString &path);

    /// Opens the file, truncated. Throws with the file's name and error text.
    void open();
    /// Where the text goes.
    QTextStream &text() { return stream; }
    /// Flushes and puts the file under its name. Throws if any write failed, as on a full disk.
    void finish();

private:
    [[noreturn]] void fail() const;

    QSaveFile file;
    QTextStream stream;
};
