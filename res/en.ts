<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>QObject</name>
    <message>
        <source>IDS_LOADING_ITUNES_BACKUP</source>
        <translation>Loading iTunes backup...</translation>
    </message>
    <message>
        <source>IDS_NOT_CONTAIN_SMS_DB_IN_ITUNES_BACKUP</source>
        <translation>Found no message database file in this iTunes backup.</translation>
    </message>
    <message>
        <source>IDS_CACHING_BACKUP_FILE_%1</source>
        <translation>Saving %1...</translation>
    </message>
    <message>
        <source>IDS_EXPORTING_MESSAGES_TO_FILE</source>
        <translation>Exporting SMS...</translation>
    </message>
    <message>
        <source>IDS_SUC_EXPORT_%1_MMS</source>
        <translation>Successfully exported %1 SMS.</translation>
    </message>
    <message>
        <source>Messages: %1/%2</source>
        <translation>SMS: %1/%2</translation>
    </message>
    <message>
        <source>Marrowlight Message Vault</source>
        <translation>Marrowlight Message Vault</translation>
    </message>
</context>
</TS>
