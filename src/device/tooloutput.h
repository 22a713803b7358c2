#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QProcess;

/// What one channel of a tool printed, up to a NUL byte. A tool that never stops printing costs no memory:
/// only the end is kept, and whether the word "error" came at any time.
class PrintedText
{
public:
    void add(const QByteArray &piece);

    QByteArray text() const { return kept; }
    bool hasError() const { return sawError; }
    bool endsAll() const { return isCut; } ///< by a NUL byte

private:
    QByteArray kept;
    bool isCut = false;
    bool sawError = false;
};

/// Both channels of the backup tool: errors first, and nothing behind a NUL byte in them.
class ToolOutput
{
public:
    /// What has come since.
    void take(QProcess &tool);

    QString text() const;
    bool hasError() const { return errors.hasError() || (!errors.endsAll() && words.hasError()); }
    /// Whether "successful" stands in the last line.
    bool endsWell() const;
    /// How far the tool says that it is; nothing where it doesn't.
    std::optional<int> percent() const;

private:
    PrintedText errors;
    PrintedText words;
};
