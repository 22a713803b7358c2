#include "backupplists.h"

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
    root.set("SystemDomainsVersion", "20.0");
    root.set("Version", "9.1");
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
    root.set("Version", "2.4");
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
    root.set("iTunes Version", "11.1.3");
    return root;
}
