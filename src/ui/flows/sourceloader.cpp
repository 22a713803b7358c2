#include "ui/flows/sourceloader.h"

#include "recovery/local/localdatabases.h"
#include "sources/phones.h"
#include "store/readers/ios6messagedb.h"
#include "ui/dialogs/boxes.h"
#include "ui/jobs/jobrunner.h"
#include "ui/models/itemmodelmain.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{

// Below this a source is there before a dialog could be.
constexpr qint64 largeFile = 4 * 1024 * 1024; // bytes

void sayContactsFailure(AbsIOSMessageDb &db)
{
    const QString failure = db.takeContactsFailure();
    if (!failure.isEmpty())
        showWarning(plainInBox(failure));
}

/// A folder that acts as a phone which is always there.
void addVirtualPhone(ItemModelMain &model, const IOSDevice &phone)
{
    try {
        const QSharedPointer<AbsIOSMessageDb> db(openVirtualPhone(phone).release());
        _MsgStorePtr store = _MsgStorePtr::create();
        db->chats(store);
        _IOSDeviceItemNode *node = model.addDevice(db, phone);
        node->store = store;
        model.loadSessions(node);
    } catch (const std::exception &error) {
        const QString text = QString::fromUtf8(error.what());
        qWarning().noquote() << text;
        showError(text);
    }
}

} // namespace

bool isLarge(const AbsIOSMessageDb &db)
{
    return QFileInfo(db.databasePath()).size() >= largeFile;
}

void runReading(const AbsIOSMessageDb &db, QWidget *parent, const std::function<void()> &work)
{
    if (isLarge(db))
        runBusy(QObject::tr("IDS_LOADING_MESSAGES"), parent, work);
    else
        work();
}

_MsgStorePtr readUnderDialog(AbsIOSMessageDb &db, QWidget *parent, Recovered recovered)
{
    _MsgStorePtr store;
    runReading(db, parent, [&] { store = readSource(db, recovered); });
    sayContactsFailure(db);
    return store;
}

bool isLoaded(const _AbsDBItemNode &source)
{
    return !source.store->messages.isEmpty();
}

_LocalDBItemNode *addLocalDatabase(ItemModelMain &model, const LocalDatabase &database)
{
    return model.addLocalDb(QSharedPointer<AbsIOSMessageDb>(openLocalDatabase(database, {}).release()),
                            database.name);
}

void fillSourceTree(ItemModelMain &model)
{
    for (const LocalDatabase &database : localDatabases())
        addLocalDatabase(model, database);
    for (const IOSDevice &phone : virtualPhones())
        addVirtualPhone(model, phone);
}

void forgetMessages(_MsgStore &store, const QSet<_MsgMessage *> &gone)
{
    for (_MsgChat *chat : std::as_const(store.chats))
        chat->messages.removeIf([&](const auto &entry) { return gone.contains(entry.value()); });
    store.messages.removeIf([&](const auto &entry) { return gone.contains(entry.value()); });
    store.removedMessages.append(QList<_MsgMessage *>(gone.begin(), gone.end()));
}
