#pragma once

#include "store/records/messagetext.h"
#include "ui/models/messagelist.h"

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

    /// Shows `list` under `title`, in the order that the header tells.
    void showMessages(const MessageList &list, const QString &title);
    /// Also takes the notice away.
    void clearMessageViews();
    /// How list, conversation and search take emoji from now on.
    void setEmojiStyle(EmojiStyle style);
    EmojiStyle emojiStyle() const { return emoji; }
    /// Whether what lies in "Recently Deleted" is shown too, from the next `showMessages` on.
    void setShowsDeleted(bool shows) { showsDeleted = shows; }
    /// Lines above the conversation, the first few in sight; none hides them.
    void setNotice(const QStringList &lines);

    /// All that is on view, in its order; without a store when nothing is.
    const MessageList &onView() const;
    /// What is selected in the list, in the order of the list.
    MessageList selectedMessages() const;
    bool hasSelection() const;
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
    void showSorted(const MessageList &list);
    int currentRow() const;

    ItemModelSms *smsModel;
    MyTreeView *treeViewSMS;
    QLineEdit *txtSMSKeyword;
    QLabel *lbChatName;
    QLabel *lbNotice;
    SmsBrowser *txtSMS;
    QLabel *lbSMSCount;
    QString shownTitle;
    EmojiStyle emoji = EmojiStyle::Markers;
    bool showsDeleted = false;
};
