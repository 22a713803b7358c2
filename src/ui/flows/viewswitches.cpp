#include "ui/flows/viewswitches.h"

#include "app/datalocations.h"
#include "store/readers/absmessagedb.h"
#include "ui/flows/shownsource.h"
#include "ui/flows/sourceloader.h"
#include "ui/views/messagepane.h"
#include "ui/views/sourcepane.h"

#include <QAction>
#include <QMenu>

using namespace Qt::StringLiterals;

QSettings viewSettings()
{
    return QSettings(dataRoot().filePath(u"view.ini"_s), QSettings::IniFormat);
}

ViewSwitches::ViewSwitches(QMenu *viewMenu, SourcePane *sourcePane, MessagePane *messagePane)
    : QObject(viewMenu), menu(viewMenu), sources(sourcePane), messages(messagePane)
{
    add(u"showEmoji"_s, u"Show &Emoji"_s,
        [this](bool isOn) { messages->setEmojiStyle(isOn ? EmojiStyle::Characters : EmojiStyle::Markers); });
    add(u"showRecentlyDeleted"_s, u"Show &Recently Deleted"_s, [this](bool isOn) {
        messages->setShowsDeleted(isOn);
        Q_EMIT contentChanged();
    });
    add(u"onePerson"_s, u"One Conversation a &Person"_s,
        [this](bool isOn) { sources->setJoinsPersons(isOn); });
    missing = add(u"showMissing"_s, u"Show &Missing Messages"_s, [this](bool) { Q_EMIT contentChanged(); });
}

QAction *ViewSwitches::add(const QString &name, const QString &text, const Apply &apply)
{
    QAction *action = menu->addAction(text);
    action->setObjectName(name);
    action->setCheckable(true);
    action->setChecked(viewSettings().value(name).toBool());
    if (action->isChecked())
        apply(true);
    connect(action, &QAction::toggled, this, [name, apply](bool isOn) {
        viewSettings().setValue(name, isOn);
        apply(isOn);
    });
    return action;
}

const MessageGaps &ViewSwitches::gapsOf(const _AbsDBItemNode &source)
{
    const _MsgStorePtr store = source.store;
    if (readStore.toStrongRef() == store)
        return gaps;
    MessageGaps found;
    sources->use(source, [&](AbsIOSMessageDb &db) {
        runReading(db, sources->window(), [&] { found = messageGaps(db, *store); });
    });
    gaps = found;
    readStore = store;
    return gaps;
}

QStringList ViewSwitches::missingLines()
{
    const _AbsDBItemNode *source = sourceOnView(*sources, *messages);
    if (!missing->isChecked() || !source || !isLoaded(*source))
        return {};
    const _ChatSessionItemNode *conversation = sources->currentConversation();
    const std::optional<_MsgSession> session =
        conversation ? std::optional(conversation->session) : std::nullopt;
    if (source->db->isLocalDatabase())
        return {QObject::tr("IDS_GAPS_NOT_IN_LOCALDB")};
    const MessageGaps &all = gapsOf(*source);
    QStringList lines;
    for (const MessageGap &gap : session ? gapsOfSession(all, *session) : all.list)
        lines.append(gapText(gap));
    return lines.isEmpty() ? QStringList{QObject::tr("IDS_GAPS_NONE")} : lines;
}

void ViewSwitches::tellMissing()
{
    const _MsgStorePtr store = messages->onView().store;
    const QStringList lines = missingLines();
    if (messages->onView().store == store) // something else may have come on view while they were counted
        messages->setNotice(lines);
}
