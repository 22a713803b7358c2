#pragma once

#include "export/exportmessages.h"
#include "sources/choice.h"
#include "sources/readsource.h"
#include "store/records/messagetext.h"

#include <QString>
#include <QStringList>

struct Command;

/// The words of the command line, sorted out. Only what the command takes is filled.
struct CommandLine {
    QString source;       ///< what SOURCE or NAME stands for
    QStringList words;    ///< what is looked for
    bool quiet = false;   ///< no progress, even on a terminal
    QString root;         ///< folder to look for backups in; empty means the default place
    QString passwordFile; ///< "-" is standard input; empty means none was given
    QString country;      ///< mobile country code; empty means none is known
    Choice choice;
    ListOrder order = ListOrder::OldestFirst;
    Recovered recovered = Recovered::LeftOut; ///< the deleted messages found earlier
    bool allDatabases = false;                ///< instead of a source
    bool isExact = false;                     ///< also the exact search for deleted messages
    bool missing = false;                     ///< only attachments without a file
    EmojiStyle emoji = EmojiStyle::Markers;
    QString format;
    QStringList formats;     ///< of the report in a bag
    bool allColumns = false; ///< of CSV
    Utf8Mark utf8Mark = Utf8Mark::LeftOut;
    QString out;
    QString zip;             ///< file to pack what was made into
    QString zipPasswordFile; ///< as `passwordFile`, for that file
    QString into;            ///< name of the Local Database to write to
    QString intoBackup;      ///< backup folder to write to
};

/// What came of parsing: a command and what it is to work on, a help text to print, or what is wrong.
struct ParsedCommandLine {
    const Command *command = nullptr; ///< set where neither help nor error is
    CommandLine line;
    QString help;
    QString error;
};

/// Sorts out the words of the command line, program name first.
ParsedCommandLine parseCommandLine(const QStringList &words);
