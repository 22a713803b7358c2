#include "testing/builders/samplemanifestdb.h"

#include "testing/builders/samplembfile.h"

namespace
{

const char *const schema = R"sql(
CREATE TABLE Files (fileID TEXT PRIMARY KEY, domain TEXT, relativePath TEXT, flags INTEGER, file BLOB);
CREATE TABLE Properties (key TEXT PRIMARY KEY, value BLOB);
)sql";

const char *const indexes = R"sql(
CREATE INDEX FilesDomainIdx ON Files(domain);
CREATE INDEX FilesRelativePathIdx ON Files(relativePath);
CREATE INDEX FilesFlagsIdx ON Files(flags);
)sql";

SampleSqlite &withTables(SampleSqlite &database)
{
    database.execute(schema);
    database.execute("BEGIN");
    return database;
}

int flagsOf(quint16 mode)
{
    constexpr quint16 typeBits = 0170000;
    switch (mode & typeBits) {
    case 0040000: return 2;
    case 0120000: return 4;
    default: return 1;
    }
}

} // namespace

SampleManifestDb::SampleManifestDb(const QString &path)
    : database(path), insertFile(withTables(database).prepare("INSERT INTO Files VALUES(?,?,?,?,?)"))
{
}

void SampleManifestDb::add(const SampleRecord &record)
{
    add({sampleHashedName(record.domain, record.path), QString::fromUtf8(record.domain),
         QString::fromUtf8(record.path), flagsOf(record.mode), sampleMbFile(record)});
}

void SampleManifestDb::add(const SampleManifestRow &row)
{
    insertFile.run(row.fileID, row.domain, row.relativePath, row.flags, row.file);
}

void SampleManifestDb::finish()
{
    database.prepare("INSERT INTO Properties VALUES(?,?)")
        .run(QStringLiteral("BackupStyle"), QByteArrayLiteral("1"));
    database.execute("COMMIT");
    database.execute(indexes);
}
