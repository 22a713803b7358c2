#pragma once

#include "store/readers/absmessagedb.h"

#include <QSet>

class ItemModelMain;
class QWidget;
struct LocalDatabase;
struct _AbsDBItemNode;
struct _LocalDBItemNode;

/// Whether deleted messages that were found in a source stand among its others.
enum class Recovered { Shown, LeftOut };

/// Chats and messages of `db` in a new store. A `file` too large to read within a blink is read on another
/// thread, under a busy dialog over `parent`. Throws what the reader throws.
_MsgStorePtr readSource(AbsIOSMessageDb &db, const QString &file, QWidget *parent, Recovered recovered);

/// The message file of a source in the tree.
QString messageFileOf(const _AbsDBItemNode &source);
/// Whether reading the source takes long enough for a dialog.
bool isLargeSource(const _AbsDBItemNode &source);
/// Whether its messages are in its store.
bool isLoaded(const _AbsDBItemNode &source);

/// Adds a Local Database, unread. The node belongs to the model.
_LocalDBItemNode *addLocalDatabase(ItemModelMain &model, const LocalDatabase &database);
/// Adds the Local Databases, unread, and the folders of "virtual_ios" below the data root as phones, with
/// their conversations. A folder that can't be read is logged and told in a box.
void fillSourceTree(ItemModelMain &model);

/// Takes messages that were deleted out of a store.
void forgetMessages(_MsgStore &store, const QSet<_MsgMessage *> &gone);
