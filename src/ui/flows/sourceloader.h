#pragma once

#include "sources/readsource.h"
#include "store/readers/absmessagedb.h"

#include <QSet>

#include <functional>

class ItemModelMain;
class QWidget;
struct LocalDatabase;
struct _AbsDBItemNode;
struct _LocalDBItemNode;

/// Whether reading the file of `db` takes long enough for a dialog.
bool isLarge(const AbsIOSMessageDb &db);
/// Runs `work`, which reads all of `db`: of a large file on another thread, under a busy dialog over
/// `parent`. Throws what it throws.
void runReading(const AbsIOSMessageDb &db, QWidget *parent, const std::function<void()> &work);
/// `readSource` by `runReading`, and a box where the address book can't be read.
_MsgStorePtr readUnderDialog(AbsIOSMessageDb &db, QWidget *parent, Recovered recovered);

/// Whether its messages are in its store.
bool isLoaded(const _AbsDBItemNode &source);

/// Adds a Local Database, unread. The node belongs to the model.
_LocalDBItemNode *addLocalDatabase(ItemModelMain &model, const LocalDatabase &database);
/// Adds the Local Databases, unread, and the folders of "virtual_ios" below the data root as phones, with
/// their conversations. A folder that can't be read is logged and told in a box.
void fillSourceTree(ItemModelMain &model);

/// Takes messages that were deleted out of a store.
void forgetMessages(_MsgStore &store, const QSet<_MsgMessage *> &gone);
