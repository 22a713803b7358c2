#include "search/searchindex.h"

#include "app/jobprogress.h"
#include "search/searchedtexts.h"
#include "search/searchquery.h"

#include <QDebug>
#include <QFile>

#include <algorithm>
#include <array>
#include <cstring>

using namespace Qt::StringLiterals;

// The file: a table "doc" with a row for each message, whose id is its date and a number within the second,
// so that rows of the newest are read first; and the FTS5 table "words" of the same ids, which keeps no texts
// (https://www.sqlite.org/fts5.html, section 4.4.2). Texts go in as tokens that the simplest tokenizer only
// has to part at blanks.
//
// Nothing of it is worth a journal: "user_version" holds a check sum of all else in the file, and 0 while it
// is written. What a crash, a full disk or a bad sector leaves is made anew.

namespace
{

constexpr qint64 headerSize = 100; // of an SQLite file; it holds "user_version" itself
constexpr int numberBits = 24;     // of the number within a second
constexpr quint32 numberMask = 0x7FFFFFFF;

// Stands between the texts of a message. No text has such a token: it is no character.
constexpr QByteArrayView betweenTexts("\xEF\xB7\x90 ");

// Kept as "application_id": "MMV" and a number that counts up with each change of the tables or the tokens.
constexpr int formatNumber = 0x4D4D5602;

// What goes into "doc" and out of it goes the same way with "words", which needs the tokens to find the place
// of a row without texts.
constexpr auto schema =
    "create table doc(id integer primary key, message integer, text blob, people blob);"
    "create table source(stamp blob);"
    "create virtual table words using fts5(text, people, content='', columnsize=0, prefix='1 2 3', "
    "tokenize='ascii');"
    // Rows are gathered in memory up to so many bytes: fewer pieces to merge.
    "insert into words(words, rank) values('hashsize', 33554432);"
    "create trigger added after insert on doc begin"
    "  insert into words(rowid, text, people) values(new.id, new.text, new.people); end;"
    "create trigger removed after delete on doc begin"
    "  insert into words(words, rowid, text, people) values('delete', old.id, old.text, old.people); end;";

} // namespace

/// The tokens of messages, as both tables have them. Those of a person are the same in each message.
class SearchIndex::TokenMaker
{
public:
    struct Tokens {
        QByteArray text;
        QByteArray people;
    };

    Tokens operator()(const _MsgMessage &message)
    {
        Tokens tokens;
        if (isFoundByTextOnly(message)) {
            tokens.text.reserve(message.text.size() * 2);
            appendTokens(message.text, tokens.text);
        } else {
            for (const QString &text : searchedTexts(message)) {
                if (!tokens.text.isEmpty())
                    tokens.text += betweenTexts;
                appendTokens(text, tokens.text);
            }
        }
        const QList<const _MsgHandle *> persons = personsOf(message);
        for (const _MsgHandle *person : persons)
            tokens.people = persons.size() == 1 ? of(*person) : tokens.people + of(*person);
        return tokens;
    }

private:
    const QByteArray &of(const _MsgHandle &person)
    {
        QByteArray &tokens = known[&person];
        if (tokens.isEmpty()) {
            appendTokens(person._ct_name, tokens);
            appendTokens(person.id, tokens);
        }
        return tokens;
    }

    QHash<const _MsgHandle *, QByteArray> known;
};

namespace
{

/// A number that isn't 0, of all bytes of the file but those of the header that keeping it changes; 0 where
/// there is no file.
int checkSum(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() < headerSize)
        return 0;
    size_t sum = size_t(file.size());
    QByteArray piece(1 << 20, Qt::Uninitialized);
    for (qint64 length = 0; (length = file.read(piece.data(), piece.size())) > 0;) {
        if (file.pos() == length) { // counts of changes, "user_version", what wrote the file
            for (const auto &[at, size] : {std::pair(24, 4), std::pair(60, 4), std::pair(92, 8)})
                std::memset(piece.data() + at, 0, size_t(size));
        }
        sum = qHashBits(piece.constData(), size_t(length), sum);
    }
    return std::max(1, int((sum ^ (sum >> 32)) & numberMask));
}

void executeAll(Sqlite3DB &db, const QString &sql)
{
    QString error;
    if (db.exec(sql, error) != 0)
        throw std::runtime_error(error.toStdString());
}

} // namespace

SearchIndex::SearchIndex(const QString &filePath) : path(filePath)
{
}

bool SearchIndex::isWhole() const
{
    Sqlite3DB file;
    file.openThrow(path, sqliteReadOnly);
    Sqlite3Cursor kind = file.queryThrow(Sqlite3Sql("pragma application_id"));
    if (!kind.moveNextThrow() || kind.getInt(0) != formatNumber)
        return false;
    Sqlite3Cursor version = file.queryThrow(Sqlite3Sql("pragma user_version"));
    return version.moveNextThrow() && version.getInt(0) != 0 && version.getInt(0) == checkSum(path);
}

bool SearchIndex::open(const QByteArray &stamp)
{
    db.close();
    if (!QFile::exists(path))
        return false;
    try {
        if (!isWhole())
            return false;
        db.openThrow(path, sqliteReadOnly);
        Sqlite3Cursor source = db.queryThrow(Sqlite3Sql("select stamp from source"));
        if (source.moveNextThrow() && source.getBlob(0) == stamp)
            return true;
    } catch (const std::exception &error) {
        qWarning("%s; the search index is made anew", error.what());
    }
    db.close();
    return false;
}

void SearchIndex::openToWrite()
{
    db.close();
    bool isThere = false;
    try {
        isThere = QFile::exists(path) && isWhole();
    } catch (const std::exception &error) {
        qWarning("%s; the search index is made anew", error.what());
    }
    if (!isThere && QFile::exists(path) && !QFile::remove(path))
        throw std::runtime_error(u"%1: the damaged search index can't be removed."_s.arg(path).toStdString());
    db.openThrow(path, sqliteReadWriteCreate);
    executeAll(db, u"pragma journal_mode=off; pragma synchronous=off; pragma temp_store=memory; "
                   "pragma secure_delete=on; pragma user_version=0"_s);
    if (!isThere)
        executeAll(db, u"pragma application_id=%1;"_s.arg(formatNumber) + QLatin1StringView(schema));
}

void SearchIndex::markWhole()
{
    db.close();
    const int sum = checkSum(path);
    db.openThrow(path, sqliteReadWrite);
    executeAll(db, u"pragma user_version=%1"_s.arg(sum));
    db.openThrow(path, sqliteReadOnly);
}

QList<SearchIndex::Place> SearchIndex::placesOf(const _MsgStore &store)
{
    QList<Place> places;
    places.reserve(store.messages.size());
    for (const _MsgMessage *message : store.messages)
        places.append({qint64(message->date) << numberBits, message});
    std::sort(places.begin(), places.end(), [](const Place &a, const Place &b) {
        return a.id != b.id ? a.id < b.id : a.message->rowid < b.message->rowid;
    });
    for (qsizetype i = 1; i < places.size(); ++i)
        places[i].id = std::max(places[i].id, places[i - 1].id + 1);
    return places;
}

/// Walks along the rows that are there and those that are to be, both by id.
SearchIndex::Change SearchIndex::changesFor(const QList<Place> &places, JobProgress &progress)
{
    Change change;
    TokenMaker tokensOf;
    auto place = places.begin();
    Sqlite3Cursor row = db.queryThrow(Sqlite3Sql("select id, message, text, people from doc order by id"));
    while (row.moveNextThrow()) {
        throwIfCancelled(progress);
        const qint64 id = row.getInt64(0);
        while (place != places.end() && place->id < id)
            change.added.append(*place++);
        bool isSame = false;
        if (place != places.end() && place->id == id) {
            const TokenMaker::Tokens tokens = tokensOf(*place->message);
            isSame = row.getInt64(1) == place->message->rowid && row.getBytes(2) == tokens.text &&
                     row.getBytes(3) == tokens.people;
            if (!isSame)
                change.added.append(*place);
            ++place;
        }
        if (!isSame)
            change.gone.append(id);
    }
    change.added.append(QList<Place>(place, places.end()));
    return change;
}

void SearchIndex::fill(const Change &change, JobProgress &progress)
{
    for (const qint64 id : change.gone) {
        throwIfCancelled(progress);
        Sqlite3Sql sql(u"delete from doc where id=?"_s);
        sql.addInt64Param(id);
        db.executeThrow(sql);
    }
    TokenMaker tokensOf;
    workThrough(change.added, progress, QObject::tr("IDS_SEARCH_INDEX_%1_%2"), [&](const Place &place) {
        const TokenMaker::Tokens tokens = tokensOf(*place.message);
        Sqlite3Sql sql(u"insert into doc values(?,?,?,?)"_s);
        sql.reserveParams(4);
        sql.addInt64Param(place.id);
        sql.addInt64Param(place.message->rowid);
        sql.addBlobParam(tokens.text);
        sql.addBlobParam(tokens.people);
        db.executeThrow(sql);
    });
}

void SearchIndex::update(const _MsgStore &store, const QByteArray &stamp, JobProgress &progress)
{
    try {
        openToWrite();
        const Change change = changesFor(placesOf(store), progress);
        db.beginTran();
        fill(change, progress);
        // Until its pieces are merged, FTS5 only notes that words are gone.
        if (!change.gone.isEmpty())
            executeAll(db, u"insert into words(words) values('optimize')"_s);
        db.executeThrow(Sqlite3Sql("delete from source"));
        Sqlite3Sql source("insert into source values(?)");
        source.addBlobParam(stamp);
        db.executeThrow(source);
        db.commitTran();
        markWhole();
    } catch (...) { // a half-written index is none
        db.close();
        QFile::remove(path);
        throw;
    }
}

QList<SearchIndex::Found> SearchIndex::find(const SearchQuery &query, const Window &window, qsizetype most)
{
    QList<Found> found;
    if (query.isEmpty())
        return found;
    const qint64 behind = (window.to + 1) << numberBits;
    Sqlite3Sql sql("select words.rowid, doc.message from words join doc on doc.id = words.rowid "
                   "where words match ? and words.rowid >= ? and words.rowid < ? "
                   "order by words.rowid desc limit ?");
    sql.addTextParam(query.expression());
    sql.addInt64Param(window.from << numberBits);
    sql.addInt64Param(std::min(behind, window.before.value_or(behind)));
    sql.addInt64Param(most);
    Sqlite3Cursor row = db.queryThrow(sql);
    while (row.moveNextThrow())
        found.append({row.getInt64(0), row.getInt64(1)});
    return found;
}
