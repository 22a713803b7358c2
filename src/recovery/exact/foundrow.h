#pragma once

#include "store/records/recoverytrace.h"

#include <QList>
#include <QVariant>

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
