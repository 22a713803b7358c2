#include "ui/dialogs/missingattachmentsdlg.h"

#include "app/freespace.h"
#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"
#include "ui/views/mytreeview.h"
#include "ui/views/plaintextdelegate.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

QList<ListedAttachment> missingOf(QList<ListedAttachment> list)
{
    list.removeIf([](const ListedAttachment &listed) { return !listed.attachment->localFile.isEmpty(); });
    return list;
}

QString summary(const AttachmentTotals &totals)
{
    if (totals.count == 0)
        return QObject::tr("IDS_NO_ATTACHMENTS");
    return QObject::tr("IDS_MISSING_ATTACHMENTS_%1_%2_%3")
        .arg(QString::number(totals.missing), QString::number(totals.count), sizeText(totals.missingBytes));
}

} // namespace

ItemModelMissing::ItemModelMissing(const QList<ListedAttachment> &list, QObject *parent)
    : QAbstractTableModel(parent), rows(list)
{
}

int ItemModelMissing::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(rows.size());
}

int ItemModelMissing::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ItemModelMissing::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return {};
    return cellText(rows.at(index.row()), index.column());
}

QVariant ItemModelMissing::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const QStringList names{u"Name"_s, u"Size"_s, u"Date"_s, u"Conversation"_s, u"Why"_s};
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return names.value(section);
}

QString ItemModelMissing::cellText(const ListedAttachment &listed, int column) const
{
    const auto &[message, attachment] = listed;
    switch (column) {
    case Name: return attachmentName(*attachment);
    case Size: return attachment->total_bytes > 0 ? sizeText(attachment->total_bytes) : QString();
    case Date: return QLocale::system().toString(appleDateTime(message->date), QLocale::ShortFormat);
    case Conversation: return message->chat ? chatTitle(*message->chat, false) : QString();
    default: return missingReason(*attachment);
    }
}

QString ItemModelMissing::asText() const
{
    QString text;
    for (int row = -1; row < rows.size(); ++row) {
        QStringList cells;
        for (int column = 0; column < ColumnCount; ++column) {
            QString cell = row < 0 ? headerData(column, Qt::Horizontal, Qt::DisplayRole).toString()
                                   : cellText(rows.at(row), column);
            cells.append(cell.replace(u'\t', u' ').replace(u'\n', u' '));
        }
        text += cells.join(u'\t') + u'\n';
    }
    return text;
}

MissingAttachmentsDlg::MissingAttachmentsDlg(const QList<ListedAttachment> &all, QWidget *parent)
    : FramelessDialog(QObject::tr("IDS_MISSING_ATTACHMENTS"), parent)
    , model(new ItemModelMissing(missingOf(all), this))
{
    build(totalsOf(all));
}

void MissingAttachmentsDlg::build(const AttachmentTotals &totals)
{
    auto *list = new MyTreeView(this);
    list->setObjectName(u"listMissing"_s);
    list->setAccessibleName(windowTitle());
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setItemDelegate(new PlainTextDelegate(list));
    list->setModel(model);
    list->header()->resizeSection(ItemModelMissing::Name, 200);
    list->header()->resizeSection(ItemModelMissing::Size, 80);
    list->fitDates(ItemModelMissing::Date);
    list->header()->resizeSection(ItemModelMissing::Conversation, 160);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading(u"lbTitle"_s, summary(totals)));
    layout->addWidget(list, 1);
    layout->addWidget(note(QObject::tr("IDS_WHY_ATTACHMENTS_ARE_MISSING")));
    layout->addLayout(buttonRow({u"btnClose"_s, u"C&lose"_s, [this] { accept(); }},
                                {u"btnCopy"_s, u"&Copy List"_s, [this] { copyList(); }}));
    resize(780, 420);
}

void MissingAttachmentsDlg::copyList()
{
    QGuiApplication::clipboard()->setText(model->asText());
}
