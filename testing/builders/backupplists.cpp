#include "testing/builders/backupplists.h"

using namespace Qt::StringLiterals;

namespace
{

void addModernFacts(SamplePlist &root, const BackupFacts &facts)
{
    SamplePlist installed = SamplePlist::array();
    installed.append(u"org.example.weather"_s);
    SamplePlist applications = SamplePlist::dictionary();
    SamplePlist details = SamplePlist::dictionary();
    details.set("PlaceholderIcon", QByteArray(16, 'i'));
    applications.set("org.example.weather", details);
    root.set("Applications", applications);
    root.set("Installed Applications", installed);
    root.set("ICCID", "8934010000000000000");
    root.set("IMEI", "350000000000006");
    root.set("MEID", "35000000000000");
    root.set("Product Name", facts.phone.productName);
    root.set("macOS Version", "14.6.1");
    root.set("macOS Build Version", "23G93");
}

} // namespace

SamplePlist manifestPlist(const BackupFacts &facts)
{
    SamplePlist lockdown = SamplePlist::dictionary();
    lockdown.set("BuildVersion", facts.phone.buildVersion);
    lockdown.set("DeviceName", facts.phone.name);
    lockdown.set("ProductType", facts.phone.productType);
    lockdown.set("ProductVersion", facts.phone.productVersion);
    lockdown.set("SerialNumber", facts.phone.serialNumber);
    lockdown.set("UniqueDeviceID", facts.phone.udid);

    SamplePlist root = SamplePlist::dictionary();
    root.set("Applications", SamplePlist::dictionary());
    root.set("BackupKeyBag", facts.keyBag);
    root.set("Date", facts.date);
    root.set("IsEncrypted", facts.isEncrypted);
    root.set("Lockdown", lockdown);
    if (!facts.manifestKey.isNull())
        root.set("ManifestKey", facts.manifestKey);
    root.set("SystemDomainsVersion", facts.isModern ? "24.0" : "20.0");
    root.set("Version", facts.isModern ? "10.0" : "9.1");
    root.set("WasPasscodeSet", true);
    return root;
}

SamplePlist statusPlist(const BackupFacts &facts)
{
    SamplePlist root = SamplePlist::dictionary();
    root.set("BackupState", "new");
    root.set("Date", facts.date);
    root.set("IsFullBackup", true);
    root.set("SnapshotState", facts.snapshotState);
    root.set("UUID", "4F1C9C5E-5B60-4B6E-9B54-7C8F6B7D2A11");
    root.set("Version", facts.isModern ? "3.3" : "2.4");
    return root;
}

SamplePlist infoPlist(const BackupFacts &facts)
{
    SamplePlist root = SamplePlist::dictionary();
    root.set("Build Version", facts.phone.buildVersion);
    root.set("Device Name", facts.phone.name);
    root.set("Display Name", facts.phone.name);
    root.set("GUID", "A1B2C3D4E5F60718293A4B5C6D7E8F90");
    root.set("Last Backup Date", facts.date);
    root.set("Phone Number", facts.phone.phoneNumber);
    root.set("Product Type", facts.phone.productType);
    root.set("Product Version", facts.phone.productVersion);
    root.set("Serial Number", facts.phone.serialNumber);
    root.set("Target Identifier", facts.phone.udid);
    root.set("Target Type", "Device");
    root.set("Unique Identifier", facts.phone.udid.toUpper());
    if (facts.isModern)
        addModernFacts(root, facts);
    else
        root.set("iTunes Version", "11.1.3");
    return root;
}
