#pragma once

#include <QString>
#include <QStringList>

#include <memory>

/// How much of a deleted row is there.
enum class FindGrade {
    Whole,   ///< every value
    Partial, ///< some values are gone; none is guessed
    Text,    ///< what was said, but not when
};

/// By what a deleted row was found.
enum class FindMethod {
    EarlierState, ///< it stood in its table before a later change
    FreedPage,    ///< a page that was given up names it
    Gap,          ///< whole between the rows of a page, or in a page of no tree
    Freeblock,    ///< as a freeblock, whose head lies over its first bytes
};

/// Which of the files that make up a database.
enum class FindOrigin { MainFile, Wal, Journal };

/// Where a deleted message was found by what the file's format proves, and how sure it is.
struct RecoveryTrace {
    FindGrade grade = FindGrade::Whole;
    FindMethod method = FindMethod::Gap;
    FindOrigin origin = FindOrigin::MainFile;
    qint64 page = 0;     ///< number of the page in the database, from 1
    qint64 offset = 0;   ///< of the row's cell in the page, in bytes
    QStringList missing; ///< columns whose values are gone, as the phone names them
};

using RecoveryTracePtr = std::shared_ptr<const RecoveryTrace>;
