#pragma once

#include "store/records/messagetext.h"
#include "ui/models/messagelist.h"

#include <QTextBrowser>

class PagePictures;

/// A conversation in pages of 50 messages. Its cost doesn't grow with the conversation.
class SmsBrowser : public QTextBrowser
{
    Q_OBJECT

public:
    explicit SmsBrowser(QWidget *parent = nullptr);

    /// Shows the first page of `shown`.
    void setMessages(const MessageList &shown);
    void clearMessages();
    /// How the texts show emoji from now on; the page stays.
    void setEmojiStyle(EmojiStyle style);
    /// Scrolls to a message, on whatever page it is. Rows that don't exist are passed over.
    void showMessage(int row);

    void firstPage();
    void previousPage();
    void nextPage();
    void lastPage();

    /// From 1; 0 when there are no messages.
    int currentPage() const { return page; }
    int pageCount() const;

public Q_SLOTS:
    /// Turns the page, shows or hides a message's history, or opens a local file, after asking where it may
    /// be a program.
    void onAnchorClicked(const QUrl &url);

    /// Pictures of the page; nothing else is loaded, from nowhere.
    QVariant loadResource(int type, const QUrl &name) override;

protected:
    void changeEvent(QEvent *event) override;

private:
    void goToPage(int number, QTextCursor::MoveOperation cursorTo);
    void render(int number);
    void toggleHistory(qint64 rowid);
    void applyColours();
    void openAttachment(const QString &file);

    MessageList list;
    PagePictures *pictures;
    int page = 0;
    QSet<qint64> openHistories; ///< rowids of messages that show what they said before
    EmojiStyle emoji = EmojiStyle::Markers;
};
