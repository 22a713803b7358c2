#pragma once

#include "messagerecords.h"
#include "messagetext.h"

#include <QWidget>

class ItemModelSms;
class MyTreeView;
class QItemSelection;
class QLabel;
class QLineEdit;
class QSplitter;
class SmsBrowser;

/// The right part of the main window: the messages on view as a list, and below it as a conversation.
class MessagePane : public QWidget
{
    Q_OBJECT

public:
    explicit MessagePane(QWidget *parent);

    /// Shows `list` under `title`, in the order that the header tells. The records belong to `owner`, which
    /// is kept as long as they are on view.
    void showMessages(const QList<_MsgMessage *> &list, _MsgStorePtr owner, const QString &title);
    void clearMessageViews();
    /// How list, conversation and search take emoji from now on.
    void setEmojiStyle(EmojiStyle style);
    EmojiStyle emojiStyle() const { return emoji; }
    /// Whether what lies in "Recently Deleted" is shown too, from the next `showMessages` on.
    void setShowsDeleted(bool shows) { showsDeleted = shows; }
    /// Lines above the conversation, the first few in sight; none hides them.
    void setNotice(const QStringList &lines);

    /// All that is on view, in its order.
    const QList<_MsgMessage *> &messages() const;
    /// What is selected in the list, in the order of the list.
    QList<_MsgMessage *> selectedMessages() const;
    bool hasSelection() const;
    /// The store behind the messages on view; null when there are none.
    const _MsgStorePtr &store() const { return shownStore; }
    const QString &title() const { return shownTitle; }
    bool isAscending() const;
    void focusSearch();

public Q_SLOTS:
    void onSMSItemSelected(const QItemSelection &selections);
    /// Only the date sorts: a click on any other column turns the list to newest first.
    void onSMSSortIndicatorChanged(int logicalIndex, Qt::SortOrder order);
    /// Goes to the next message that holds the words typed.
    void searchMessages();

Q_SIGNALS:
    void contextMenuWanted();

private:
    void buildList(QSplitter *splitter);
    void buildConversation(QSplitter *splitter);
    void setUpHeader();
    void setTitle(const QString &title);
    void showSorted(const QList<_MsgMessage *> &list);
    int currentRow() const;

    ItemModelSms *smsModel;
    MyTreeView *treeViewSMS;
    QLineEdit *txtSMSKeyword;
    QLabel *lbChatName;
    QLabel *lbNotice;
    SmsBrowser *txtSMS;
    QLabel *lbSMSCount;
    _MsgStorePtr shownStore;
    QString shownTitle;
    EmojiStyle emoji = EmojiStyle::Markers;
    bool showsDeleted = false;
};
