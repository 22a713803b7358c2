#include "ui/flows/messagerecovery.h"

#include "sources/readsource.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/progressform.h"
#include "ui/flows/shownsource.h"
#include "ui/jobs/jobrunner.h"
#include "ui/jobs/messagejobs.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

#include <algorithm>

namespace
{

/// How sure the found messages are; empty where none has a trace. Those without a trace were found by the
/// other search, which proves nothing.
QString gradesText(const _MsgStore &store)
{
    const auto countOf = [&](FindGrade grade) {
        return std::count_if(store.messages.cbegin(), store.messages.cend(), [&](const _MsgMessage *message) {
            return message->recovery && message->recovery->grade == grade;
        });
    };
    const bool hasTraces = std::any_of(store.messages.cbegin(), store.messages.cend(),
                                       [](const _MsgMessage *message) { return message->recovery; });
    if (!hasTraces)
        return {};
    return u'\n' + QObject::tr("IDS_RECOVERED_WHOLE_%1_PARTIAL_%2_TEXT_%3")
                       .arg(countOf(FindGrade::Whole))
                       .arg(countOf(FindGrade::Partial))
                       .arg(countOf(FindGrade::Text));
}

} // namespace

bool lookForDeleted(AbsIOSMessageDb &db, QWidget *window)
{
    ProgressForm form(QObject::tr("IDS_RECOVERING_SMS"), window);
    RecoverDeletedThread job(&db, &form, nullptr);
    return runUnder(form, job);
}

void sayRecovered(const _MsgStore &store)
{
    const qsizetype count = countRecovered(store);
    if (count == 0)
        showInfo(QObject::tr("IDS_NO_DELETED_SMS"));
    else
        showInfo(QObject::tr("IDS_SUC_RECOVER_%1_SMS").arg(count) + gradesText(store));
}

void recoverDeletedMessages(SourcePane &sources, MessagePane &messages, QWidget *window)
{
    _AbsDBItemNode *source = sources.currentSource();
    if (!source || source->type != IosDeviceNode)
        return;
    const QPersistentModelIndex place(sources.model().indexOf(source));
    bool isSearched = false;
    sources.use(*source, [&](AbsIOSMessageDb &db) { isSearched = lookForDeleted(db, window); });
    if (!isSearched || !place.isValid()) // the phone may have gone meanwhile
        return;
    if (const _MsgStorePtr store = showAnew(source, sources, messages))
        sayRecovered(*store);
}
