#include "store/readers/ownschema.h"

#include "sqlite_qt/untoucheddb.h"
#include "sqlite_qt/writetransaction.h"
#include "store/records/columntables.h"

#include <QFile>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

struct OwnColumn {
    QString table;
    QString name;
    QString type;
};

template <typename Record>
void addOwn(QList<OwnColumn> &columns, const QString &table, RecordColumns<Record> known, LocalColumn kind)
{
    for (const RecordColumn<Record> &column : known) {
        if (column.traits.local == kind)
            columns.append({table, column.localName(), column.declaration});
    }
}

QList<OwnColumn> ownColumns()
{
    QList<OwnColumn> columns;
    addOwn(columns, u"_reaction"_s, reactionTable(), LocalColumn::Added);
    addOwn(columns, u"chat"_s, chatTable(), LocalColumn::Aside);
    addOwn(columns, u"handle"_s, handleTable(), LocalColumn::Aside);
    addOwn(columns, u"message"_s, messageTable(), LocalColumn::Aside);
    addOwn(columns, u"attachment"_s, attachmentTable(), LocalColumn::Aside);
    addOwn(columns, u"message"_s, extrasTable(), LocalColumn::Aside);
    return columns;
}

QList<OwnColumn> missingColumns(Sqlite3DB &db)
{
    QHash<QString, QHash<QString, _SqliteCol>> known;
    QList<OwnColumn> missing;
    for (const OwnColumn &column : ownColumns()) {
        if (!known.contains(column.table))
            known.insert(column.table, db.tbInfo(column.table));
        // A file with messages and no table of attachments is one that somebody else made: it holds none.
        // One without a table of our own gets it complete.
        if (!known[column.table].isEmpty() && !known[column.table].contains(column.name))
            missing.append(column);
    }
    return missing;
}

QString ownScript(const QString &name)
{
    QFile file(u":/res/"_s + name);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(u"%1: %2"_s.arg(file.fileName(), file.errorString()).toStdString());
    return QString::fromUtf8(file.readAll());
}

bool isComplete(Sqlite3DB &db)
{
    const QHash<QString, QString> tables = tableTexts(db);
    return tables.contains(u"_reaction"_s) && tables.contains(u"_part_text"_s) &&
           tables.contains(u"_reaction_attachment_join"_s) && tables.contains(u"_source_column"_s) &&
           missingColumns(db).isEmpty();
}

void runScript(Sqlite3DB &db, const QString &name)
{
    QString error;
    if (db.exec(ownScript(name), error) != 0)
        throw std::runtime_error(u"bring the Local Database up to date: %1"_s.arg(error).toStdString());
}

} // namespace

void addOwnSchemaThrow(Sqlite3DB &db)
{
    if (isComplete(db))
        return;
    WriteTransaction transaction(db);
    // Under the lock once more: another program may have been faster.
    for (const OwnColumn &column : missingColumns(db))
        db.executeThrow(
            Sqlite3Sql(u"ALTER TABLE %1 ADD COLUMN %2 %3"_s.arg(column.table, column.name, column.type)));
    runScript(db, u"localmsgdb_own.sql"_s);
    if (tableTexts(db).contains(u"attachment"_s))
        runScript(db, u"localmsgdb_own_attachments.sql"_s);
    transaction.commit();
}
