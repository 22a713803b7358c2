#pragma once

#include "search/searchindex.h"
#include "search/searchquery.h"
#include "sources/choice.h"

#include <memory>

class AbsIOSMessageDb;
class JobProgress;

// A search over one source. A skin makes its index current on a thread of its own, with a reader of its own,
// while the source is shown, then asks `searchMessages` with the store that it shows:
//
//     std::unique_ptr<SearchIndex> index = currentSearchIndex(*reader, progress); // any thread
//     SearchQuery query(typed, LastWord::IsBeginning);
//     SearchResult result = searchMessages(*index, store, query, choice, 500);    // that of the store
//
// The index only proposes: each hit is a message of the store that holds the words as it stands.

/// Where the index of a source lies: beside its copy in the cache or its Local Database; for a source that
/// lies elsewhere, in a folder of the data root.
QString searchIndexPath(const AbsIOSMessageDb &db);

/// The open index of a source, brought up to date if the source has changed, made if there is none or it is
/// damaged. Reads the source anew then, with what was recovered. Throws `std::runtime_error`, or -1 when
/// cancelled. Another process that is at it is waited for.
std::unique_ptr<SearchIndex> currentSearchIndex(AbsIOSMessageDb &db, JobProgress &progress);

/// The same where there is an index already, after an import or a deletion. What was deleted must not rest in
/// it: where it can't be brought up to date, or that is cancelled, it is removed. Throws nothing, since what
/// was done to the source is done.
void updateSearchIndex(AbsIOSMessageDb &db, JobProgress &progress);

/// A message that holds what was looked for.
struct SearchHit {
    _MsgMessage *message;
    QString snippet;           ///< the text around the first hit, on one line
    QList<SearchRange> ranges; ///< of the hits in it; empty when only sender or partner match
};

struct SearchResult {
    QList<SearchHit> hits; ///< newest first
    qsizetype count = 0;   ///< of all
    bool isMore = false;   ///< there are more than were counted
};

/// At most `limit` messages of `store`, a source whose index this is, that hold the query and that `choice`
/// asks for. Throws as `ChoiceFilter` does.
SearchResult searchMessages(SearchIndex &index, const _MsgStorePtr &store, const SearchQuery &query,
                            const Choice &choice, qsizetype limit);
