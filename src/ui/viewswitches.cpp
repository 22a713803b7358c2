#include "viewswitches.h"

#include "absmessagedb.h"
#include "datalocations.h"
#include "jobrunner.h"
#include "messagepane.h"
#include "sourceloader.h"
#include "sourcepane.h"

#include <QAction>
#include <QMenu>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace
{

QSettings remembered()
{
    return QSettings(dataRoot().filePath(u"view.ini"_s), QSettings::IniFormat);
}

} // namespace

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
    action->setChecked(remembered().value(name).toBool());
    if (action->isChecked())
        apply(true);
    connect(action, &QAction::toggled, this, [name, apply](bool isOn) {
        remembered().setValue(name, isOn);
        apply(isOn);
    });
    return action;
}

const MessageGaps &ViewSwitches::gapsOf(AbsIOSMessageDb &db, const _AbsDBItemNode &source)
{
    if (readStore.toStrongRef() == source.store)
        return gaps;
    gaps = {};
    readStore = source.store;
    const auto read = [&] { gaps = messageGaps(db, *source.store); };
    if (isLargeSource(source))
        runBusy(QObject::tr("IDS_LOADING_MESSAGES"), sources->window(), read);
    else
        read();
    return gaps;
}

QStringList ViewSwitches::missingLines()
{
    const _AbsDBItemNode *source = sources->currentSource();
    if (!missing->isChecked() || !source || !isLoaded(*source))
        return {};
    auto &db = dynamic_cast<AbsIOSMessageDb &>(*source->db);
    if (db.isLocalDatabase())
        return {QObject::tr("IDS_GAPS_NOT_IN_LOCALDB")};
    const MessageGaps &all = gapsOf(db, *source);
    const _ChatSessionItemNode *conversation = sources->currentConversation();
    QStringList lines;
    for (const MessageGap &gap : conversation ? gapsOfSession(all, conversation->session) : all.list)
        lines.append(gapText(gap));
    return lines.isEmpty() ? QStringList{QObject::tr("IDS_GAPS_NONE")} : lines;
}

void ViewSwitches::tellMissing()
{
    messages->setNotice(missingLines());
}
