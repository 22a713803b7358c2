#include "cli/searchcommand.h"

#include "cli/commandline.h"
#include "cli/exitstatus.h"
#include "cli/interrupt.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "export/messagejson.h"
#include "recovery/local/localdatabases.h"
#include "search/messagesearch.h"
#include "sources/choicefilter.h"

#include <QSet>

#include <algorithm>
#include <limits>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

struct FoundLine {
    int date;
    QJsonObject object;
};

/// What one source has, newest first.
struct FoundLines {
    QList<FoundLine> lines;
    QStringList absences; ///< of the choice
};

QString marked(const SearchHit &hit)
{
    QString text = hit.snippet;
    for (auto range = hit.ranges.crbegin(); range != hit.ranges.crend(); ++range) {
        text.insert(range->at + range->length, u']');
        text.insert(range->at, u'[');
    }
    return text;
}

FoundLines searchSource(const CommandLine &line, const SearchQuery &query, TerminalProgress &progress)
{
    const Source source = openSource(line, progress);
    const InterruptScope interruptible(progress);
    const std::unique_ptr<SearchIndex> index = currentSearchIndex(*source.db, progress);
    progress.clear();
    const Choice choice = source.localized(line.choice);
    QHash<const _MsgMessage *, SearchHit> hits;
    for (const SearchHit &hit :
         searchMessages(*index, source.store, query, choice, std::numeric_limits<qsizetype>::max()).hits)
        hits.insert(hit.message, hit);

    FoundLines found{{}, ChoiceFilter(source.store, choice).absences()};
    const Choice chats{.chats = choice.chats, .absent = choice.absent};
    for (const ListedMessage &listed : listedMessages(source.store, chats, ListOrder::NewestFirst)) {
        const auto hit = hits.constFind(listed.message);
        if (hit == hits.cend())
            continue;
        QJsonObject object = messageJson(*listed.message, listed.chatIdentifier,
                                         hasOwnGuid(*source.db, *listed.message), line.emoji);
        object.insert(u"source"_s, line.source);
        object.insert(u"snippet"_s, marked(*hit));
        found.lines.append({listed.message->date, object});
    }
    return found;
}

/// All of them, each list in its own order.
QList<FoundLine> merged(const QList<FoundLine> &one, const QList<FoundLine> &other)
{
    QList<FoundLine> all;
    all.reserve(one.size() + other.size());
    std::merge(one.begin(), one.end(), other.begin(), other.end(), std::back_inserter(all),
               [](const FoundLine &a, const FoundLine &b) { return a.date > b.date; });
    return all;
}

/// A person or conversation is absent that no database has.
QList<FoundLine> searchDatabases(const CommandLine &line, const SearchQuery &query,
                                 TerminalProgress &progress)
{
    CommandLine one = line;
    one.choice.absent = Absent::IsNobody;
    QList<FoundLine> lines;
    std::optional<QStringList> absentEverywhere;
    for (const LocalDatabase &database : localDatabases()) {
        one.source = database.name;
        const FoundLines found = searchSource(one, query, progress);
        lines = merged(lines, found.lines);
        if (!absentEverywhere)
            absentEverywhere = found.absences;
        absentEverywhere->removeIf([&](const QString &absence) { return !found.absences.contains(absence); });
    }
    if (absentEverywhere && !absentEverywhere->isEmpty())
        throw std::runtime_error(absentEverywhere->first().toStdString());
    return lines;
}

} // namespace

void searchCommand(const CommandLine &line, TerminalProgress &progress)
{
    const SearchQuery query(line.words.join(u' '));
    const QList<FoundLine> found = line.allDatabases ? searchDatabases(line, query, progress)
                                                     : searchSource(line, query, progress).lines;
    for (const FoundLine &each : found)
        printJsonLine(each.object);
}
