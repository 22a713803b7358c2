#include "search/messagesearch.h"

#include "app/datalocations.h"
#include "app/filetools.h"
#include "app/jobprogress.h"
#include "app/product.h"
#include "app/texts.h"
#include "search/searchedtexts.h"
#include "sources/choicefilter.h"
#include "sources/readsource.h"
#include "store/readers/absmessagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/records/phonetree.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLockFile>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype pageSize = 20000; // of what an index proposes

/// A file as far as a change of it shows: its size, its date and, of a database, the count of changes.
QString stampOf(const QString &path)
{
    constexpr qint64 sqliteHeader = 100;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return u"none"_s;
    return u"%1 %2 %3"_s.arg(file.size())
        .arg(QFileInfo(path).lastModified().toMSecsSinceEpoch())
        .arg(QString::fromLatin1(file.read(sqliteHeader).toBase64()));
}

/// All that the texts of a source depend on.
QByteArray stampOf(AbsIOSMessageDb &db)
{
    const QString book =
        phoneTree(db.rootFolder()).filePath(u"var/mobile/Library/AddressBook/AddressBook.sqlitedb"_s);
    QStringList parts = {versionText(), db.countryCode()};
    for (const QString &path : {db.databasePath(), book, recycleDbPath(db.rootFolder())})
        parts += {stampOf(path), stampOf(path + u"-wal"_s)};
    return parts.join(u'\n').toUtf8();
}

void waitFor(QLockFile &lock, const QString &path, const JobProgress &progress)
{
    constexpr int oneLook = 200; // ms
    lock.setStaleLockTime(0);    // a large index takes its time
    while (!lock.tryLock(oneLook)) {
        throwIfCancelled(progress);
        if (lock.error() != QLockFile::LockFailedError)
            throw std::runtime_error(u"%1: the search index can't be written."_s.arg(path).toStdString());
    }
}

/// The text in which the query is shown: the first with a hit, else what the message says.
QString shownText(const SearchQuery &query, const QStringList &texts)
{
    for (const QString &text : texts) {
        if (!query.rangesIn(text).isEmpty())
            return text;
    }
    return texts.value(0);
}

/// Where the words before `at` begin, some way back.
qsizetype startBefore(const QString &text, qsizetype at)
{
    constexpr qsizetype before = 30;
    if (at <= before)
        return 0;
    const qsizetype blank = text.indexOf(u' ', at - before);
    qsizetype start = blank >= 0 && blank < at ? blank + 1 : at - before;
    if (text.at(start).isLowSurrogate())
        --start;
    return start;
}

SearchHit hitOf(_MsgMessage &message, const SearchQuery &query, const QStringList &texts)
{
    constexpr qsizetype longest = 120;
    QString text = printable(shownText(query, texts)).replace(QChar::ObjectReplacementCharacter, u' ');
    const QList<SearchRange> all = query.rangesIn(text);
    const qsizetype start = all.isEmpty() ? 0 : startBefore(text, all.first().at);
    qsizetype end = std::min(text.size(), start + longest);
    if (!all.isEmpty())
        end = std::max(end, all.first().at + all.first().length);
    if (end < text.size() && text.at(end).isLowSurrogate())
        ++end;
    const QString lead = start > 0 ? u"…"_s : QString();
    SearchHit hit{&message, lead + text.sliced(start, end - start), {}};
    if (end < text.size())
        hit.snippet += u'…';
    for (const SearchRange &range : all) {
        if (range.at + range.length <= end)
            hit.ranges.append({range.at - start + lead.size(), range.length});
    }
    return hit;
}

} // namespace

QString searchIndexPath(const AbsIOSMessageDb &db)
{
    const QString root = QDir::cleanPath(db.rootFolder().absolutePath());
    if (root.startsWith(QDir::cleanPath(dataRoot().absolutePath()) + u'/'))
        return root + u"/search.db"_s;
    return dataRoot().absoluteFilePath(u"search/%1.db"_s.arg(md5Hex(db.databasePath())));
}

std::unique_ptr<SearchIndex> currentSearchIndex(AbsIOSMessageDb &db, JobProgress &progress)
{
    const QString path = searchIndexPath(db);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QLockFile lock(path + u".lock"_s);
    waitFor(lock, path, progress);
    db.openDb(); // which finds the country
    const QByteArray stamp = stampOf(db);
    auto index = std::make_unique<SearchIndex>(path);
    if (!index->open(stamp))
        index->update(*readSource(db, Recovered::Shown), stamp, progress);
    return index;
}

void updateSearchIndex(AbsIOSMessageDb &db, JobProgress &progress)
{
    const QString path = searchIndexPath(db);
    if (!QFile::exists(path))
        return;
    try {
        currentSearchIndex(db, progress);
    } catch (const std::exception &error) {
        qWarning("%s; the search index is removed", error.what());
        QFile::remove(path);
    } catch (int) { // cancelled
        QFile::remove(path);
    }
}

SearchResult searchMessages(SearchIndex &index, const _MsgStorePtr &store, const SearchQuery &query,
                            const Choice &choice, qsizetype limit)
{
    const ChoiceFilter filter(store, choice);
    SearchIndex::Window window;
    window.from = std::max(window.from, choice.from.value_or(window.from));
    window.to = std::min(window.to, choice.to.value_or(window.to));
    SearchResult result;
    QList<SearchIndex::Found> page;
    do {
        page = index.find(query, window, pageSize);
        for (const SearchIndex::Found &found : std::as_const(page)) {
            _MsgMessage *message = store->messages.value(found.rowid);
            if (!message || !filter.accepts(*message))
                continue;
            if (result.hits.size() < limit) {
                const QStringList texts = searchedTexts(*message);
                if (!query.matches(texts + searchedPersons(*message)))
                    continue;
                result.hits.append(hitOf(*message, query, texts));
            }
            ++result.count;
        }
        if (!page.isEmpty())
            window.before = page.last().place;
    } while (page.size() == pageSize && result.hits.size() < limit);
    result.isMore = page.size() == pageSize;
    return result;
}
