#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// How much of a deleted row is there.
enum class FindGrade : quint8 {
    Whole,   ///< every value
    Partial, ///< some values are gone; none is guessed
    Words,   ///< what was said, but not when
};

/// By what a deleted row was found.
enum class FindMethod : quint8 {
    EarlierState, ///< a row that stood in the table before a later change
    FreedPage,    ///< a page that was given up names it
    Gap,          ///< whole between the rows of a page, or in a page of no tree
    Freeblock,    ///< as a freeblock, whose head lies over its first bytes
};

/// Which file.
enum class FindOrigin : quint8 { MainFile, Wal, Journal };

/// A row that was found, with what proves it.
struct FoundRow {
    int table = 0;               ///< which of the shapes
    qint64 rowid = 0;            ///< 0 when unknown
    QList<QVariant> values = {}; ///< by the table's columns; the first one stands for the row number
    QList<int> missing = {};     ///< columns whose values are gone
    FindGrade grade = FindGrade::Whole;
    FindMethod method = FindMethod::Gap;
    FindOrigin origin = FindOrigin::MainFile;
    quint32 page = 0;  ///< its number in the database
    qint64 offset = 0; ///< of its cell in the page
    int moment = 0;    ///< later states of the database have higher numbers
    size_t contentHash = 0;
};
