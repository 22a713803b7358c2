#pragma once

#include "export/messagerecord.h"
#include "store/records/messagetext.h"

#include <QList>
#include <QString>

class JobProgress;
struct _MsgMessage;

/// Formats of an export, with the numbers that jobs are given.
enum ExportFormat : int {
    ExportText = 0,       ///< one file
    ExportCsv = 1,        ///< one file
    ExportPdf = 2,        ///< a folder with one file a conversation
    ExportHtml = 3,       ///< a folder with one file a conversation
    ExportFullTable = 4,  ///< one file: CSV with all columns
    ExportJsonLines = 5,  ///< one file
    ExportXlsx = 6,       ///< one file
    ExportAndroidSms = 7, ///< one file of XML
};

/// What becomes of the files of complete conversations when an export fails or is cancelled later on.
enum class FinishedFiles {
    Stay,
    AreRemoved, ///< and so are the folders that the export made
};

/// Whether a file of text begins with U+FEFF, by which some spreadsheets know UTF-8.
enum class Utf8Mark { Written, LeftOut };

/// What an export makes.
struct ExportPlan {
    QString path; ///< a file, or for formats of one file a conversation the folder of the files
    int format = ExportText;
    /// Oldest first within a conversation; a format of one file keeps the order of the list.
    bool ascending = true;
    FinishedFiles afterFailure = FinishedFiles::Stay;
    EmojiStyle emoji =
        EmojiStyle::Markers;               ///< of the formats that the program has always had, and JSON Lines
    Utf8Mark utf8Mark = Utf8Mark::LeftOut; ///< of CSV with all columns
    GuidTest isOwnGuid = {};               ///< all are where it is empty
};

/// Writes `messages` as planned and returns how many were written. An empty list makes no file. What stood
/// at the path of a format of one file is replaced when all is written; in a folder every file from before
/// stays, and a conversation whose name is taken gets the next free one: "Ana(1).html". PDF needs a
/// `QGuiApplication`. Throws `std::runtime_error` for an unknown format or a file that can't be written,
/// and the integer -1 on cancel; no torn file is left.
qint64 exportMessages(const QList<_MsgMessage *> &messages, const ExportPlan &plan, JobProgress &progress);
