// How fast the index of a million messages is made, brought up to date and searched, and whether it finds
// each of 500 needles.
#include "barerows.h"
#include "benchtable.h"
#include "search/messagesearch.h"
#include "silentprogress.h"

#include <QCoreApplication>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

constexpr int messageCount = 1000000;
constexpr int needleCount = 500;
constexpr int rounds = 2;

/// Numbers that are the same in every run.
class Numbers
{
public:
    quint32 below(quint32 limit)
    {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return quint32((state >> 33) % limit);
    }
    /// Small ones far more often, as with words.
    quint32 rareBelow(quint32 limit) { return below(1 + below(1 + below(limit))); }

private:
    quint64 state = 1;
};

/// The `number`th word of a language of 20,000.
QString word(quint32 number)
{
    static const QStringList parts = {u"ma"_s, u"ren"_s, u"to"_s,  u"señ"_s, u"li"_s, u"Kö"_s, u"da"_s,
                                      u"vo"_s, u"che"_s, u"sch"_s, u"ти"_s,  u"на"_s, u"é"_s,  u"que"_s};
    QString spelled;
    for (quint32 rest = number + 1; rest > 0; rest /= quint32(parts.size()))
        spelled += parts.at(rest % quint32(parts.size()));
    return spelled;
}

/// A way to hide a needle, and what finds it.
struct Hiding {
    void (*hide)(_MsgMessage &message, const QString &number);
    const char16_t *query; ///< with %1 for the number
};

void addEdit(_MsgMessage &message, const QString &number)
{
    message.extras = new MessageExtras;
    message.extras->edits = {{0, 1, u"früher "_s + number}, {0, 2, message.text}};
}

const Hiding hidings[] = {
    {[](_MsgMessage &message, const QString &number) { message.text += u" Nädél"_s + number; }, u"NADEL%1"},
    {[](_MsgMessage &message, const QString &number) { message.text += u" ﬁnd"_s + number; }, u"find%1"},
    {[](_MsgMessage &message, const QString &number) { message.text += u"🎉%1🎉"_s.arg(number); }, u"🎉%1🎉"},
    {[](_MsgMessage &message, const QString &number) { message.text += u"我住在第%1号"_s.arg(number); },
     u"在第%1"},
    {addEdit, u"\"fruher %1\""},
};

/// Conversations of 300 partners.
_MsgStorePtr makeMessages()
{
    constexpr int chatCount = 300;
    Numbers numbers;
    _MsgStorePtr store = _MsgStorePtr::create();
    for (int i = 1; i <= chatCount; ++i) {
        auto *handle = new _MsgHandle;
        handle->rowid = i;
        handle->id = u"+346%1"_s.arg(i, 8, 10, QChar(u'0'));
        handle->_ct_name = word(quint32(i)) + u' ' + word(quint32(i * 7));
        store->handles.insert(i, handle);
    }
    store->messages.reserve(messageCount);
    for (int i = 1; i <= messageCount; ++i) {
        auto *message = new _MsgMessage;
        message->rowid = i;
        message->date = 300000000 + i * 120;
        message->handle = store->handles.value(1 + numbers.rareBelow(chatCount));
        for (quint32 left = 3 + numbers.below(12); left > 0; --left)
            message->text += word(numbers.rareBelow(20000)) + u' ';
        if (i % (messageCount / needleCount) == 0)
            hidings[quint32(i / (messageCount / needleCount)) % std::size(hidings)].hide(*message,
                                                                                         QString::number(i));
        store->messages.insert(i, message);
    }
    return store;
}

void compareBuilding(const QTemporaryDir &dir, const _MsgStore &store)
{
    const QString path = dir.filePath(u"search.db"_s);
    SilentProgress progress;
    SearchIndex(path).update(store, "1", progress);
    QByteArray schema;
    std::deque<TableRows> tables;
    {
        const Db made = openBare(path);
        runBare(made.get(), "create temp table plain as select id, text, people from doc order by id");
        tables.emplace_back(made.get(), "doc");
        tables.emplace_back(made.get(), "plain");
    }
    compareWithFloor(
        "search index of 1,000,000 messages", 1.3, rounds,
        [&] {
            QFile::remove(path);
            SearchIndex(path).update(store, "1", progress);
        },
        [&] {
            QFile::remove(dir.filePath(u"bare.db"_s));
            const Db bare = openBare(dir.filePath(u"bare.db"_s));
            runBare(bare.get(),
                    "pragma journal_mode=off; pragma synchronous=off;"
                    "create table doc(id integer primary key, message integer, text blob, people blob);"
                    "create virtual table words using fts5(text, people, content='', columnsize=0,"
                    "prefix='1 2 3', tokenize='ascii');"
                    "insert into words(words, rank) values('hashsize', 33554432);"
                    "begin");
            tables.front().insertInto(bare.get());
            tables.back().insertInto(bare.get(), "words(rowid, text, people)");
            runBare(bare.get(), "commit");
        });
}

void printTime(const char *what, double seconds, double limit)
{
    std::printf("%-52s %9.3f s %19s %7.2f  %s\n", what, seconds, "", limit,
                seconds <= limit ? "reached" : "MISSED");
    std::fflush(stdout);
}

void findNeedles(SearchIndex &index, const _MsgStorePtr &store)
{
    double slowest = 0;
    int found = 0;
    for (int i = messageCount / needleCount; i <= messageCount; i += messageCount / needleCount) {
        const Hiding &hiding = hidings[quint32(i / (messageCount / needleCount)) % std::size(hidings)];
        const SearchQuery query(QString::fromUtf16(hiding.query).arg(i));
        SearchResult result;
        slowest =
            std::max(slowest, secondsOf([&] { result = searchMessages(index, store, query, {}, 500); }));
        found += result.count == 1 && result.hits.first().message->rowid == i;
    }
    if (found != needleCount)
        qFatal("%d of %d needles were found", found, needleCount);
    printTime("the slowest of 500 searches for a needle", slowest, 0.1);
}

void printSearches(SearchIndex &index, const _MsgStorePtr &store)
{
    const auto time = [&](const char *what, const QString &text, const Choice &choice = {}) {
        const SearchQuery query(text, LastWord::IsBeginning);
        SearchResult result;
        const double seconds = secondsOf([&] { result = searchMessages(index, store, query, choice, 500); });
        printTime(what, seconds, 0.1);
        if (result.hits.isEmpty())
            qFatal("nothing was found for %s", qUtf8Printable(text));
    };
    time("search for the commonest word", word(0) + u' ');
    time("search for words that begin with one letter", u"m"_s);
    time("search for words that begin with two letters", u"se"_s);
    time("search for words that begin with three letters", u"sen"_s);
    time("search for two common words", word(0) + u' ' + word(1) + u' ');
    time("search for a phrase", u"\"%1 %2\""_s.arg(word(0), word(1)));
    time("search with a choice of dates", word(0), {.from = 300000000, .to = 301000000});
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir dir;
    const _MsgStorePtr store = makeMessages();
    compareBuilding(dir, *store);
    SearchIndex index(dir.filePath(u"search.db"_s));
    bool isOpen = false;
    std::printf("%-52s %9.3f s\n", "opening it, with its check sum",
                secondsOf([&] { isOpen = index.open("1"); }));
    if (!isOpen)
        qFatal("the index can't be opened");
    findNeedles(index, store);
    printSearches(index, store);

    delete store->messages.take(1000);
    SilentProgress progress;
    std::printf("%-52s %9.3f s\n", "taking one message out of it",
                secondsOf([&] { index.update(*store, "2", progress); }));
    return 0;
}
