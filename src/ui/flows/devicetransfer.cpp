#include "ui/flows/devicetransfer.h"

#include "app/product.h"
#include "backup/backupmanifest.h"
#include "device/backuptempdir.h"
#include "sources/phones.h"
#include "ui/dialogs/boxes.h"
#include "ui/dialogs/datasourceselform.h"
#include "ui/flows/backupexport.h"
#include "ui/jobs/devicejobs.h"
#include "ui/views/programicon.h"
#include "ui/views/sourcepane.h"

using namespace Qt::StringLiterals;

namespace
{

/// All phones but the one that the messages come from; null when the person gives up.
_IOSDeviceItemNode *pickPhone(const _MsgStorePtr &origin, SourcePane &sources, QWidget *window)
{
    DataSourceSelForm form(window);
    form.setHeading(QObject::tr("IDS_SEL_ONE_IOS_DEVICE"));
    for (AbsTreeItemModel::_ItemNode *node : std::as_const(sources.model().rootDevice->children)) {
        auto *phone = static_cast<_IOSDeviceItemNode *>(node);
        if (phone->store != origin)
            form.addItem(programIcon(u":res/iphone.png"_s), phone->text, phone);
    }
    form.exec();
    // A phone may have been pulled meanwhile.
    return sources.model().rootDevice->children.contains(form.selected()) ? form.selected() : nullptr;
}

/// Whether the phone can take messages at all; tells the person when it can't.
bool isWritable(const IOSDevice &phone)
{
    const QString error = transferError(phone);
    if (!error.isEmpty())
        showWarning(error);
    return error.isEmpty();
}

bool isConfirmed(const IOSDevice &phone)
{
    const bool isPhone = phone.productType.startsWith("iPhone"_L1, Qt::CaseInsensitive);
    if (!isPhone && !askYesNo(u"You can transfer iMessage only to an iPad/iPod. Want to continue?"_s))
        return false;
    return askYesNo(
        QObject::tr("IDS_RESTORE_IOS_TIPS_FIND_MY_IPHONE_MUST_OFF").arg(websiteAddress().toHtmlEscaped()) +
        "<br/>"_L1 + QObject::tr("IDS_TRANSFER_IN_FLIGHT_MODE"));
}

} // namespace

void transferToPhone(const MessageList &list, SourcePane &sources, QWidget *window)
{
    const _IOSDeviceItemNode *node = pickPhone(list.store, sources, window);
    if (!node || !isWritable(node->device))
        return;
    const IOSDevice phone = node->device; // the node goes when the phone is pulled
    if (!checkBackupOptions(phone, true, true, window) || !isConfirmed(phone))
        return;
    PhoneBackupLock lock(phone);
    const std::optional<QDir> folder = backUpPhone(phone, lock, window);
    if (!folder)
        return;
    BackupManifest manifest(folder->absolutePath());
    const std::optional<QString> done = writeIntoBackup(list, manifest, window);
    if (done && restorePhone(phone, *folder, lock, window))
        showInfo(*done);
}
