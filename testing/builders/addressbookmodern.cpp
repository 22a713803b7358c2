#include "testing/builders/addressbookmodern.h"

using namespace Qt::StringLiterals;

const char *const modernAddressBookSchema = R"sql(
ALTER TABLE ABPerson ADD COLUMN guid TEXT;
ALTER TABLE ABPerson ADD COLUMN DowntimeWhitelist TEXT;
ALTER TABLE ABMultiValue ADD COLUMN guid TEXT;
CREATE UNIQUE INDEX ABMultiValueGuidIndex ON ABMultiValue(guid);
CREATE INDEX ABPersonLinkIndex ON ABPerson(PersonLink);
)sql";

namespace
{

const char *const searchTable =
    "CREATE VIRTUAL TABLE ABPersonFullTextSearch USING fts4(First, Last, Middle, FirstPhonetic, "
    "MiddlePhonetic, LastPhonetic, Organization, Department, Note, Birthday, JobTitle, Nickname, Prefix, "
    "Suffix, DisplayName, OrganizationPhonetic, Phone, Email, Address, SocialProfile, URL, InstantMessage, "
    "tokenize=simple)";

SampleSqlite &withTable(SampleSqlite &database)
{
    database.execute(searchTable);
    return database;
}

QString digitsOf(const QString &number)
{
    QString digits;
    for (const QChar sign : number)
        if (sign.isDigit())
            digits += sign;
    return digits;
}

/// The spellings under which phones find a number of Spain, blank between them.
QString variantsOf(const QString &number)
{
    if (number.startsWith(u'+') && !number.startsWith("+34"_L1))
        return number;
    const QString digits = digitsOf(number);
    const QString national = digits.size() > 9 ? digits.last(9) : digits;
    return QStringList{number, u"+34"_s + national, u"01134"_s + national, u"0034"_s + national, national}
        .join(u' ');
}

} // namespace

SampleSearchTable::SampleSearchTable(SampleSqlite &file)
    : database(file)
    , insert(withTable(file).prepare(
          "INSERT INTO ABPersonFullTextSearch(docid, First, Last, Phone, Email) VALUES(?,?,?,?,?)"))
{
}

void SampleSearchTable::add(qint64 person, const QString &first, const QString &last,
                            const QStringList &phones, const QStringList &emails)
{
    QStringList variants;
    for (const QString &phone : phones)
        variants.append(variantsOf(phone));
    insert.run(person, first, last, variants.join(u' '), emails.join(u' '));
}

void SampleSearchTable::finish()
{
    database.execute(
        "PRAGMA writable_schema=ON;"
        "UPDATE sqlite_master SET sql=replace(sql, 'tokenize=simple', 'tokenize=ab_cf_tokenizer') "
        "WHERE name='ABPersonFullTextSearch'; PRAGMA writable_schema=OFF");
}
