#include "app/jobprogress.h"
#include "search/messagesearch.h"

#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

class NoProgress final : public JobProgress
{
    void updateProgress(const QString &, int, const QString &) override {}
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}
};

struct Searched {
    Searched()
    {
        int rowid = 0;
        for (const QString &text :
             {u"Señal perdida, NEAR the \"old\" straße"_s, u"我在东京 👍🏽 ok"_s,
              u"ก็ม้า नमस्ते 학교 שָׁלוֹם"_s, u"a b c or not a*"_s}) {
            auto *message = new _MsgMessage;
            message->rowid = ++rowid;
            message->text = text;
            store->messages.insert(rowid, message);
        }
        NoProgress progress;
        index.update(*store, "1", progress);
    }

    const QTemporaryDir dir;
    const _MsgStorePtr store = _MsgStorePtr::create();
    SearchIndex index{dir.filePath(u"search.db"_s)};
};

QString utf16From(const unsigned char *data, size_t size)
{
    QString text(qsizetype(size / 2), Qt::Uninitialized);
    std::memcpy(text.data(), data, size / 2 * 2);
    return text;
}

} // namespace

/// The lowest bit of the first byte tells whether the last word is a beginning, the next one whether the rest
/// is UTF-8 or UTF-16, halves of pairs included. Every query has an answer; the index finds no less than a
/// look at each message, and ranges lie in their text.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static Searched searched;
    if (size == 0)
        return 0;
    const QString text = (data[0] & 2) != 0
                             ? utf16From(data + 1, size - 1)
                             : QString::fromUtf8(QByteArrayView(data + 1, qsizetype(size - 1)));
    const SearchQuery query(text, (data[0] & 1) != 0 ? LastWord::IsBeginning : LastWord::IsWhole);
    const SearchResult result = searchMessages(searched.index, searched.store, query, {}, 10);
    qsizetype expected = 0;
    for (const _MsgMessage *message : std::as_const(searched.store->messages))
        expected += query.matches({message->text}) ? 1 : 0;
    if (result.hits.size() != expected)
        abort();
    for (const SearchHit &hit : result.hits) {
        for (const SearchRange &range : hit.ranges) {
            if (range.at < 0 || range.length <= 0 || range.at + range.length > hit.snippet.size())
                abort();
        }
    }
    for (const SearchRange &range : query.rangesIn(text)) {
        if (range.at < 0 || range.length <= 0 || range.at + range.length > text.size())
            abort();
    }
    return 0;
}
