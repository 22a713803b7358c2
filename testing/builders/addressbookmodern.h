#pragma once

#include "testing/builders/samplesqlite.h"

#include <QStringList>

/// What an address book since iOS 11 has beside the tables of iOS 6.
extern const char *const modernAddressBookSchema;

/// The table for full-text search: an FTS4 table whose tokenizer no plain SQLite knows, so that only
/// ABPersonFullTextSearch_content can be read.
class SampleSearchTable
{
public:
    explicit SampleSearchTable(SampleSqlite &file);

    void add(qint64 person, const QString &first, const QString &last, const QStringList &phones,
             const QStringList &emails);
    /// Names the tokenizer that only phones have. Call outside a transaction, as the last thing.
    void finish();

private:
    SampleSqlite &database;
    SampleStatement insert;
};
