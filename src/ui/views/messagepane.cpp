#include "ui/views/messagepane.h"

#include "store/records/extrastext.h"
#include "store/records/messagestore.h"
#include "ui/dialogs/boxes.h"
#include "ui/models/itemmodelsms.h"
#include "ui/pages/smsbrowser.h"
#include "ui/views/mytreeview.h"
#include "ui/views/searchrow.h"
#include "ui/views/wrappingsearch.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

constexpr int longestTitle = 200; // characters; no window shows more
constexpr qsizetype noticeLines = 3;
constexpr qsizetype noticeToolTipLines = 40;

QVBoxLayout *columnIn(QSplitter *splitter)
{
    auto *part = new QWidget(splitter);
    auto *layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    return layout;
}

/// A label that never asks for more room than there is.
QLabel *yieldingLabel(const QString &name, const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    return label;
}

} // namespace

MessagePane::MessagePane(QWidget *parent)
    : QWidget(parent)
    , smsModel(new ItemModelSms(this))
    , treeViewSMS(new MyTreeView(this))
    , txtSMSKeyword(new QLineEdit(this))
    , lbChatName(yieldingLabel(u"lbChatName"_s, u"Conversations"_s, this))
    , lbNotice(yieldingLabel(u"lbNotice"_s, {}, this))
    , txtSMS(new SmsBrowser(this))
    , lbSMSCount(yieldingLabel(u"lbSMSCount"_s, QObject::tr("Messages: 0"), this))
{
    setObjectName(u"widget"_s);
    auto *splitter = new QSplitter(Qt::Vertical, this);
    splitter->setObjectName(u"splitter_2"_s);
    buildList(splitter);
    buildConversation(splitter);
    splitter->setSizes({300, 380});
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 8, 8, 8);
    layout->addWidget(splitter);
    setUpHeader();
    connect(treeViewSMS, &MyTreeView::onSelectionChanged, this, &MessagePane::onSMSItemSelected);
    connect(treeViewSMS, &MyTreeView::createContextMenu, this, &MessagePane::contextMenuWanted);
}

void MessagePane::buildList(QSplitter *splitter)
{
    treeViewSMS->setObjectName(u"treeViewSMS"_s);
    treeViewSMS->setAccessibleName(u"Messages"_s);
    treeViewSMS->setRootIsDecorated(false);
    treeViewSMS->setSelectionMode(QAbstractItemView::ExtendedSelection);
    treeViewSMS->setModel(smsModel);
    txtSMSKeyword->setObjectName(u"txtSMSKeyword"_s);
    txtSMSKeyword->setPlaceholderText(u"Find in messages"_s);
    QVBoxLayout *column = columnIn(splitter);
    column->addLayout(searchRow(txtSMSKeyword, u"btnSearchSMS"_s, u"Find the next message"_s, this,
                                [this] { searchMessages(); }));
    column->addWidget(treeViewSMS);
}

void MessagePane::buildConversation(QSplitter *splitter)
{
    txtSMS->setObjectName(u"txtSMS"_s);
    txtSMS->setAccessibleName(u"Conversation"_s);
    lbChatName->setProperty("heading", true);
    lbSMSCount->setProperty("quiet", true);
    lbNotice->setProperty("quiet", true);
    lbNotice->hide();
    QVBoxLayout *column = columnIn(splitter);
    column->addWidget(lbChatName);
    column->addWidget(lbNotice);
    column->addWidget(txtSMS);
    column->addWidget(lbSMSCount);
}

void MessagePane::setUpHeader()
{
    QHeaderView *header = treeViewSMS->header();
    treeViewSMS->setSortingEnabled(true);
    header->setSectionsMovable(false);
    header->setSortIndicator(0, Qt::AscendingOrder);
    treeViewSMS->fitDates(0);
    header->resizeSection(1, 50);
    header->resizeSection(2, 120);
    connect(header, &QHeaderView::sortIndicatorChanged, this, &MessagePane::onSMSSortIndicatorChanged);
}

void MessagePane::showMessages(const MessageList &list, const QString &title)
{
    setTitle(title);
    MessageList wanted = list;
    if (!showsDeleted)
        wanted.messages.removeIf([](const _MsgMessage *message) { return isRecentlyDeleted(*message); });
    showSorted(wanted);
}

void MessagePane::clearMessageViews()
{
    showMessages({}, {});
    setNotice({});
}

void MessagePane::setEmojiStyle(EmojiStyle style)
{
    emoji = style;
    smsModel->setEmojiStyle(style);
    txtSMS->setEmojiStyle(style);
}

void MessagePane::showSorted(const MessageList &list)
{
    MessageList sorted{sortMessages(list.messages), list.store};
    if (!isAscending())
        std::reverse(sorted.messages.begin(), sorted.messages.end());
    txtSMS->clearMessages();
    smsModel->setMessages(sorted);
    txtSMS->setMessages(sorted);
    const qsizetype count = sorted.messages.size();
    lbSMSCount->setText(count == 0 ? QObject::tr("Messages: 0") : QObject::tr("Messages: %1").arg(count));
}

void MessagePane::setTitle(const QString &title)
{
    shownTitle = title;
    const QString shown = title.size() > longestTitle ? title.left(longestTitle) + u'…' : title;
    lbChatName->setText(title.isEmpty() ? u"Conversations"_s : shown);
}

void MessagePane::setNotice(const QStringList &lines)
{
    QStringList shown = lines.first(std::min(lines.size(), noticeLines));
    if (lines.size() > shown.size())
        shown.last() += u' ' + QObject::tr("IDS_AND_%1_MORE").arg(lines.size() - shown.size());
    lbNotice->setText(shown.join(u'\n'));
    lbNotice->setToolTip(lines.first(std::min(lines.size(), noticeToolTipLines)).join(u'\n'));
    lbNotice->setVisible(!lines.isEmpty());
}

const MessageList &MessagePane::onView() const
{
    return smsModel->messageList();
}

MessageList MessagePane::selectedMessages() const
{
    QItemSelection ranges = treeViewSMS->selectionModel()->selection();
    std::sort(ranges.begin(), ranges.end(),
              [](const QItemSelectionRange &a, const QItemSelectionRange &b) { return a.top() < b.top(); });
    MessageList selected{{}, onView().store};
    for (const QItemSelectionRange &range : std::as_const(ranges))
        for (int row = range.top(); row <= range.bottom(); ++row)
            selected.messages.append(onView().messages.at(row));
    return selected;
}

bool MessagePane::hasSelection() const
{
    return treeViewSMS->selectionModel()->hasSelection();
}

bool MessagePane::isAscending() const
{
    return treeViewSMS->header()->sortIndicatorOrder() == Qt::AscendingOrder;
}

void MessagePane::focusSearch()
{
    txtSMSKeyword->setFocus(Qt::ShortcutFocusReason);
    txtSMSKeyword->selectAll();
}

void MessagePane::onSMSItemSelected(const QItemSelection &selections)
{
    // Not indexes(): with all of a million rows selected it would list four million.
    if (!selections.isEmpty() && ItemModelSms::messageOf(selections.first().topLeft()))
        txtSMS->showMessage(selections.first().top());
}

void MessagePane::onSMSSortIndicatorChanged(int logicalIndex, Qt::SortOrder)
{
    if (logicalIndex != 0)
        treeViewSMS->header()->setSortIndicator(0, Qt::DescendingOrder);
    else
        showSorted(MessageList(onView()));
}

int MessagePane::currentRow() const
{
    const QModelIndex current = treeViewSMS->currentIndex();
    return current.isValid() ? current.row() : -1;
}

void MessagePane::searchMessages()
{
    const QString words = txtSMSKeyword->text().trimmed();
    if (words.isEmpty())
        return;
    const QList<_MsgMessage *> list = onView().messages;
    if (list.isEmpty())
        return showInfo(QObject::tr("IDS_CAN_NOT_FOUND_AND_MESSAGES"));
    const std::optional<int> found = searchWrapping(int(list.size()), currentRow() + 1, [&](int row) {
        return renderText(*list.at(row), emoji).contains(words, Qt::CaseInsensitive);
    });
    if (found)
        treeViewSMS->setCurrentIndex(smsModel->indexOfRow(*found));
    else
        showInfo(QObject::tr("IDS_CAN_NOT_FOUNDSMS_KEYWORD_%0").arg(words.toHtmlEscaped()));
}
