<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>QObject</name>
    <message>
        <source>IDS_BACKUP_NOT_FINISHED_%1</source>
        <translation>%1 (not finished)</translation>
    </message>
    <message>
        <source>IDS_BACKUP_WAS_BROKEN_OFF</source>
        <translation>The backup was broken off before it was finished; make it again.</translation>
    </message>
    <message>
        <source>IDS_CHECKING_PASSWORD</source>
        <translation>Checking the password...</translation>
    </message>
    <message>
        <source>IDS_ENTER_PASSWORD</source>
        <translation>Enter password</translation>
    </message>
    <message>
        <source>IDS_PLEASE_ENTER_PASSWORD_TO_LOAD_BACKUP</source>
        <translation>This iTunes Backup is encrypted. Please enter password:</translation>
    </message>
    <message>
        <source>IDS_PWD_IS_NULL</source>
        <translation>Password is required.</translation>
    </message>
    <message>
        <source>IDS_INVALID_PASSWORD</source>
        <translation>Invalid password.</translation>
    </message>
    <message>
        <source>IDS_PLEASE_SELECT_DATABASE_OR_INPUT_NEW_NAME</source>
        <translation>Select one Database or enter a new Database name</translation>
    </message>
    <message>
        <source>IDS_INVALID_LOCALDB_NAME</source>
        <translation>Invalid Local Database name(can't contain \ / : * ? &quot; &lt; &gt; |).</translation>
    </message>
    <message>
        <source>IDS_TITLE_SELECT_ONE_DEVICE_TO_TRANSFER</source>
        <translation>Please select a Device.</translation>
    </message>
    <message>
        <source>IDS_PLEASE_SELECT_ONE_DATASOURCE</source>
        <translation>Need to select a Device to continue.</translation>
    </message>
    <message>
        <source>IDS_SEL_YOUR_PHONE_COUNTRY</source>
        <translation>Select your country code:</translation>
    </message>
    <message>
        <source>IDS_CANT_CONTINUE_WITHOUT_SEL_ONE_COUNTRY</source>
        <translation>Please select a cuntry code first to continue.</translation>
    </message>
    <message>
        <source>IDS_CONFIRM_SEL_COUNTRY_%1</source>
        <translation>Confirm to select %1?</translation>
    </message>
    <message>
        <source>IDS_SELECT_AN_ITUNES_BACKUP_TO_LOAD</source>
        <translation>Please select an iTunes Backup to load.</translation>
    </message>
    <message>
        <source>IDS_NO_BACKUP_LISTED_THERE_CLICK_&lt;a href=&quot;#&quot;&gt;Here&lt;/a&gt;_ADD</source>
        <translation>Can't find your iTunes Backup on the list? Please manually import it by clicking &lt;a href=&quot;#&quot;&gt;HERE&lt;/a&gt;.</translation>
    </message>
    <message>
        <source>IDS_PLEASE_SELECT_ONE_ITUNES_BACKUP</source>
        <translation>Need to select an iTunes Backup to continue.</translation>
    </message>
    <message>
        <source>IDS_LOAD_BK_EXISTS</source>
        <translation>This iTunes Backup has been listed on the left.</translation>
    </message>
    <message>
        <source>IDS_ROOT_DEVICE</source>
        <translation>Devices</translation>
    </message>
    <message>
        <source>IDS_ROOT_LOCALDB</source>
        <translation>Local Databases</translation>
    </message>
    <message>
        <source>IDS_SEARCH_INDEX_%1_%2</source>
        <translation>Search index: %1/%2</translation>
    </message>
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
        <source>IDS_GAP_%1_BETWEEN_%2_AND_%3</source>
        <translation>Up to %1 messages are missing between %2 and %3.</translation>
    </message>
    <message>
        <source>IDS_GAP_%1_BEFORE_%2</source>
        <translation>Up to %1 messages are missing before %2.</translation>
    </message>
    <message>
        <source>IDS_GAP_%1_AFTER_%2</source>
        <translation>Up to %1 messages are missing after %2.</translation>
    </message>
    <message>
        <source>IDS_GAP_%1</source>
        <translation>Up to %1 messages are missing.</translation>
    </message>
    <message>
        <source>IDS_PRINT_SMS</source>
        <translation>Print SMS</translation>
    </message>
    <message>
        <source>Messages: %1/%2</source>
        <translation>SMS: %1/%2</translation>
    </message>
    <message>
        <source>IDS_BACKING_UP_SMS</source>
        <translation>Backing up SMS to Local Database...</translation>
    </message>
    <message>
        <source>IDS_SUC_BACKUP_%1_SMS</source>
        <translation>Successfully Backup %1 SMS to local Database.</translation>
    </message>
    <message>
        <source>IDS_DELETING_LOCAL_DB_MESSAGES</source>
        <translation>Deleting SMS...</translation>
    </message>
    <message>
        <source>IDS_SUC_DELETE_%1_MESSAGES</source>
        <translation>Successfully Deleted %1 SMS.</translation>
    </message>
    <message>
        <source>IDS_UPDATING_LOCALDB_%1</source>
        <translation>Updating local database '%1'...</translation>
    </message>
    <message>
        <source>IDS_LOCALDB_UPDATE_SUC_RESTART_REFRESH</source>
        <translation>Successfully updated local database. Please restart software.</translation>
    </message>
    <message>
        <source>IDS_PLEASE_SELECT_DATABASE_OR_INPUT_NEW_NAME</source>
        <translation>Select one Database or enter a new Database name</translation>
    </message>
    <message>
        <source>IDS_INVALID_LOCALDB_NAME</source>
        <translation>Invalid Local Database name(can't contain \ / : * ? &quot; &lt; &gt; |).</translation>
    </message>
    <message>
        <source>Messages: 0</source>
        <translation>SMS: 0</translation>
    </message>
    <message>
        <source>Messages: %1</source>
        <translation>SMS: %1</translation>
    </message>
    <message>
        <source>IDS_CAN_NOT_FOUND_AND_MESSAGES</source>
        <translation>Can't find any SMS.</translation>
    </message>
    <message>
        <source>IDS_CAN_NOT_FOUNDSMS_KEYWORD_%0</source>
        <translation>Find no SMS with keyword %1.</translation>
    </message>
    <message>
        <source>IDS_CAN_NOT_FOUNDCONTACT_KEYWORD_%0</source>
        <translation>Find no contact with keyword %1.</translation>
    </message>
    <message>
        <source>IDS_AND_%1_MORE</source>
        <translation>(and %1 more)</translation>
    </message>
    <message>
        <source>IDS_SOURCE_%1_IN_USE</source>
        <translation>&quot;%1&quot; is being read or changed just now. Wait until that is done, then try again.</translation>
    </message>
    <message>
        <source>IDS_NOT_ON_VIEW</source>
        <translation>The messages of what is selected are not on view. Select it again, then repeat what you wanted.</translation>
    </message>
    <message>
        <source>IDS_OPEN_UNSAFE_FILE_%1</source>
        <translation>&quot;%1&quot; came with a message and may be a program, which could do harm. Open it all the same?</translation>
    </message>
    <message>
        <source>IDS_PHONES_NEED_%1</source>
        <translation>iPhones that are plugged in can't be read yet: %1. Backups and Local Databases can.</translation>
    </message>
    <message>
        <source>IDS_NO_PHONE_LIBRARY</source>
        <translation>the library for phones is missing (package libimobiledevice6)</translation>
    </message>
    <message>
        <source>IDS_NO_PHONE_SERVICE</source>
        <translation>the service for phones is missing (package usbmuxd)</translation>
    </message>
    <message>
        <source>IDS_NO_PHONE_BACKUP_TOOL</source>
        <translation>idevicebackup2 is missing (package libimobiledevice-utils)</translation>
    </message>
    <message>
        <source>IDS_STOPPING</source>
        <translation>Stopping...</translation>
    </message>
    <message>
        <source>IDS_ENTER_PASSCODE_ON_PHONE</source>
        <translation>Enter the passcode on the phone.</translation>
    </message>
    <message>
        <source>IDS_PHONE_ERROR_LOCKED</source>
        <translation>The phone is locked, or its passcode wasn't entered in time. Unlock it, enter the passcode when it asks for it, and try again.</translation>
    </message>
    <message>
        <source>IDS_PHONE_ERROR_NO_SPACE</source>
        <translation>This computer has too little free space for a backup of the phone.</translation>
    </message>
    <message>
        <source>IDS_CONNECTING_TO_PHONE</source>
        <translation>Connecting to the phone...</translation>
    </message>
    <message>
        <source>IDS_UNLOCK_AND_TRUST</source>
        <translation>Unlock the phone and tap &quot;Trust&quot; on it.</translation>
    </message>
    <message>
        <source>IDS_READ_ANYWAY</source>
        <translation>Read anyway</translation>
    </message>
    <message>
        <source>IDS_COPYING_LAST_BACKUP</source>
        <translation>Keeping the last backup...</translation>
    </message>
    <message>
        <source>IDS_TRANSFER_IN_FLIGHT_MODE</source>
        <translation>4) Switch the iPhone to flight mode until the transfer is done: it comes back as it was backed up, without what arrives meanwhile.</translation>
    </message>
    <message>
        <source>IDS_USE_LAST_BACKUP_%1</source>
        <translation>There is a backup of this phone of %1. Read that one, or make a newer one first?</translation>
    </message>
    <message>
        <source>IDS_MAKE_NEWER_BACKUP</source>
        <translation>Make a newer one</translation>
    </message>
    <message>
        <source>IDS_READ_LAST_BACKUP</source>
        <translation>Read that one</translation>
    </message>
    <message>
        <source>IDS_BACKUP_STAYS_%1_%2_%3</source>
        <translation>A backup of %1 (%2) stays in %3: it makes the next time quicker and can be loaded like any iTunes backup.</translation>
    </message>
    <message>
        <source>IDS_REMOVE_BACKUP</source>
        <translation>Remove it</translation>
    </message>
    <message>
        <source>IDS_REMOVING_BACKUP</source>
        <translation>Removing the backup...</translation>
    </message>
    <message>
        <source>IDS_PHONE_MAY_NOT_FIT_%1_%2_%3</source>
        <translation>The phone has %1 in use, and %2 has %3 free. Its backup may not fit. Try all the same?</translation>
    </message>
    <message>
        <source>IDS_GAPS_NONE</source>
        <translation>No messages are missing here, as far as row numbers tell.</translation>
    </message>
    <message>
        <source>IDS_GAPS_NOT_IN_LOCALDB</source>
        <translation>What is missing can only be told of the phone itself: a Local Database has row numbers of its own.</translation>
    </message>
    <message>
        <source>IDS_SHOW_HISTORY</source>
        <translation>What it said before</translation>
    </message>
    <message>
        <source>IDS_HIDE_HISTORY</source>
        <translation>Hide what it said before</translation>
    </message>
    <message>
        <source>IDS_LOADING_MESSAGES</source>
        <translation>Loading SMS...</translation>
    </message>
    <message>
        <source>IDS_CONFIRM_DEL_SEL_MESSAGES</source>
        <translation>Confirm to delete the selected SMS?</translation>
    </message>
    <message>
        <source>IDS_CONFIRM_DEL_THIS_CHAT</source>
        <translation>Confirm to delete SMS with this contact?</translation>
    </message>
    <message>
        <source>IDS_CONFIRM_DEL_THIS_LOCALDB</source>
        <translation>Confirm to delete this Database?</translation>
    </message>
    <message>
        <source>IDS_DEL_LOCALDB_SUC</source>
        <translation>Successfully Deleted Database %0.</translation>
    </message>
    <message>
        <source>IDS_SUC_CLEAR_CACHE</source>
        <translation>Successfully cleared cache files.</translation>
    </message>
    <message>
        <source>IDS_MISSING_ATTACHMENTS</source>
        <translation>Missing Attachments</translation>
    </message>
    <message>
        <source>IDS_MISSING_ATTACHMENTS_%1_%2_%3</source>
        <translation>%1 of %2 attachments are not in the backup (%3).</translation>
    </message>
    <message>
        <source>IDS_NO_ATTACHMENTS</source>
        <translation>There are no attachments. Select a phone, a Local Database or a conversation of one first.</translation>
    </message>
    <message>
        <source>IDS_WHY_ATTACHMENTS_ARE_MISSING</source>
        <translation>A phone that keeps its messages or photos in iCloud leaves their files out of a backup. Open the conversation on the phone, wait until the pictures have come, and make another backup.</translation>
    </message>
    <message>
        <source>IDS_SEL_EXPORT_MESSAGES_PATH</source>
        <translation>Please select Save Path for SMS.</translation>
    </message>
    <message>
        <source>IDS_LOADING_IOS_DATABASES</source>
        <translation>Loading SMS from iPhone...</translation>
    </message>
    <message>
        <source>IDS_PHONE_STOPPED_EARLY</source>
        <translation>The phone stopped sending before the end. Some messages or attachments may be missing: disconnect the phone and connect it again to load all of them.</translation>
    </message>
    <message>
        <source>IDS_ANDROID_%1_CANT_READ_MMC_NUMBER</source>
        <translation>Failed to load country code from your phone. Please click &quot;OK&quot; button to select a country code manually.</translation>
    </message>
    <message>
        <source>IDS_SEL_ONE_IOS_DEVICE</source>
        <translation>Please select an iPhone:</translation>
    </message>
    <message>
        <source>IDS_RESTORE_IOS_TIPS_FIND_MY_IPHONE_MUST_OFF</source>
        <translation>Notes:&lt;br/&gt;
1) If your iPhone is protected with a passcode, please enter your passcode on iPhone first.&lt;br/&gt;
2) Please make sure you&apos;ve turned off &quot;iCloud Backup&quot; on your iPhone.&lt;br/&gt;
3) &quot;&lt;a href=&quot;%1&quot;&gt;Find My iPhone&lt;/a&gt;&quot; must be disabled before restoring.</translation>
    </message>
    <message>
        <source>IDS_TRANSFER_NOT_TO_FOLDER</source>
        <translation>This iPhone is a folder on this computer. SMS can be transferred to a connected iPhone only.</translation>
    </message>
    <message>
        <source>IDS_TRANSFER_PHONE_IS_TOO_NEW</source>
        <translation>Failed to transfer SMS because this iPhone has iOS 10 or later. SMS can be transferred to iPhones with iOS 6 to 9.</translation>
    </message>
    <message>
        <source>IDS_MERGING_IOS6_MESSAGES</source>
        <translation>Saving SMS to iPhone...</translation>
    </message>
    <message>
        <source>IDS_NO_VALID_MESSAGE_RESTORE_TO_IOS_%1_UNKNOWN_CHAT_MSG</source>
        <translation>No message for recovering. Only found %1 messages with unknown contact info. Please right click the messages to set contact info first and try again</translation>
    </message>
    <message>
        <source>IDS_CANT_EXPORT_ITUNES_BACKUP_IS_ENCRYPT</source>
        <translation>Failed to export SMS to iTunes backup because your current iTunes backup is encrypted.</translation>
    </message>
    <message>
        <source>IDS_CANT_EXPORT_ITUNES_BACKUP_IS_TOO_NEW</source>
        <translation>Failed to export SMS to iTunes backup because it is the backup of an iPhone with iOS 10 or later. SMS can be exported to backups of iOS 6 to 9.</translation>
    </message>
    <message>
        <source>IDS_SUC_RESTORE_%1_MESSAGES_TO_IOS</source>
        <translation>Successfully recovered %1 SMS to iPhone.</translation>
    </message>
    <message>
        <source>IDS_LEFT_OUT_%1_UNKNOWN_CHAT_MSG</source>
        <translation>%1 SMS were left out: their contact is unknown, or the phone doesn't know their service.</translation>
    </message>
    <message>
        <source>IDS_NO_UPDATE_CHECK_%1_%2</source>
        <translation>This is version %1. It doesn't look for updates by itself; find new versions &lt;a href=&quot;%2&quot;&gt;HERE&lt;/a&gt;.</translation>
    </message>
    <message>
        <source>IDS_NONE_INSTALL_ITUNES</source>
        <translation>Failed to load (Apple Mobile Device) framework. Plese click &lt;a href=&quot;%1&quot;&gt;HERE&lt;/a&gt; for help.</translation>
    </message>
    <message>
        <source>IDS_RECOVERING_CONTACTS</source>
        <translation>Looking for deleted contacts...</translation>
    </message>
    <message>
        <source>IDS_RECOVERING_SMS</source>
        <translation>Looking for deleted SMS...</translation>
    </message>
    <message>
        <source>IDS_RECOVERED_WHOLE_%1_PARTIAL_%2_TEXT_%3</source>
        <translation>Proven by the file: %1 whole, %2 with something missing, %3 with no more than their text.</translation>
    </message>
    <message>
        <source>IDS_SUC_RECOVER_%1_SMS</source>
        <translation>%1 deleted SMS found. They are shown in red among the others.</translation>
    </message>
    <message>
        <source>IDS_NO_DELETED_SMS</source>
        <translation>No deleted SMS was found.</translation>
    </message>
    <message>
        <source>IDS_ALSO_LOOK_FOR_DELETED_SMS</source>
        <translation>Look for &amp;deleted SMS too</translation>
    </message>
    <message>
        <source>Marrowlight Message Vault</source>
        <translation>Marrowlight Message Vault</translation>
    </message>
    <message>
        <source>IDS_NO_CONVERSATION</source>
        <translation>No conversation</translation>
    </message>
    <message>
        <source>IDS_YOU</source>
        <translation>You</translation>
    </message>
    <message>
        <source>IDS_SOMEBODY</source>
        <translation>Somebody</translation>
    </message>
    <message>
        <source>IDS_YOU_AS_OBJECT</source>
        <translation>you</translation>
    </message>
    <message>
        <source>IDS_THIS</source>
        <translation>this</translation>
    </message>
    <message>
        <source>IDS_PART_%1_OF_THIS</source>
        <translation>part %1 of this</translation>
    </message>
    <message>
        <source>IDS_MESSAGE_NOT_HERE</source>
        <translation>a message that isn't here</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_STICKER_ON_%2</source>
        <translation>%1 put a sticker on %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_LOVED_%2</source>
        <translation>%1 loved %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_LIKED_%2</source>
        <translation>%1 liked %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_DISLIKED_%2</source>
        <translation>%1 disliked %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_LAUGHED_AT_%2</source>
        <translation>%1 laughed at %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_EMPHASIZED_%2</source>
        <translation>%1 emphasized %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_QUESTIONED_%2</source>
        <translation>%1 questioned %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_TO_%2_WITH_%3</source>
        <translation>%1 reacted to %2 with %3</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_TO_%2_WITH_STICKER</source>
        <translation>%1 reacted to %2 with a sticker</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_VOTED_IN_%2</source>
        <translation>%1 voted in %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_TOOK_BACK_TO_%2</source>
        <translation>%1 took back a reaction to %2</translation>
    </message>
    <message>
        <source>IDS_REACTION_%1_TO_%2_UNKNOWN_%3</source>
        <translation>%1 reacted to %2 (kind %3)</translation>
    </message>
    <message>
        <source>IDS_EFFECT_SLAM</source>
        <translation>Slam</translation>
    </message>
    <message>
        <source>IDS_EFFECT_LOUD</source>
        <translation>Loud</translation>
    </message>
    <message>
        <source>IDS_EFFECT_GENTLE</source>
        <translation>Gentle</translation>
    </message>
    <message>
        <source>IDS_EFFECT_INVISIBLE_INK</source>
        <translation>Invisible Ink</translation>
    </message>
    <message>
        <source>IDS_EFFECT_ECHO</source>
        <translation>Echo</translation>
    </message>
    <message>
        <source>IDS_EFFECT_SPOTLIGHT</source>
        <translation>Spotlight</translation>
    </message>
    <message>
        <source>IDS_EFFECT_BALLOONS</source>
        <translation>Balloons</translation>
    </message>
    <message>
        <source>IDS_EFFECT_CONFETTI</source>
        <translation>Confetti</translation>
    </message>
    <message>
        <source>IDS_EFFECT_HEART</source>
        <translation>Heart</translation>
    </message>
    <message>
        <source>IDS_EFFECT_LASERS</source>
        <translation>Lasers</translation>
    </message>
    <message>
        <source>IDS_EFFECT_FIREWORKS</source>
        <translation>Fireworks</translation>
    </message>
    <message>
        <source>IDS_EFFECT_SHOOTING_STAR</source>
        <translation>Shooting Star</translation>
    </message>
    <message>
        <source>IDS_EFFECT_SPARKLES</source>
        <translation>Sparkles</translation>
    </message>
    <message>
        <source>IDS_BALLOON_LINK</source>
        <translation>Link</translation>
    </message>
    <message>
        <source>IDS_BALLOON_HANDWRITING</source>
        <translation>Handwritten message</translation>
    </message>
    <message>
        <source>IDS_BALLOON_DIGITAL_TOUCH</source>
        <translation>Digital Touch message</translation>
    </message>
    <message>
        <source>IDS_BALLOON_PAYMENT</source>
        <translation>Apple Cash</translation>
    </message>
    <message>
        <source>IDS_BALLOON_ACTIVITY</source>
        <translation>Activity</translation>
    </message>
    <message>
        <source>IDS_BALLOON_PHOTOS</source>
        <translation>Shared photos</translation>
    </message>
    <message>
        <source>IDS_BALLOON_CHECK_IN</source>
        <translation>Check In</translation>
    </message>
    <message>
        <source>IDS_BALLOON_LOCATION</source>
        <translation>Location</translation>
    </message>
    <message>
        <source>IDS_BALLOON_POLL</source>
        <translation>Poll</translation>
    </message>
    <message>
        <source>IDS_BALLOON_BUSINESS</source>
        <translation>Business message</translation>
    </message>
    <message>
        <source>IDS_BALLOON_DRAWING</source>
        <translation>Drawing</translation>
    </message>
    <message>
        <source>IDS_CONTENT_%1_SHARED_%2</source>
        <translation>%1 (shared %2)</translation>
    </message>
    <message>
        <source>IDS_CONTENT_%1_SHARED</source>
        <translation>%1 (shared)</translation>
    </message>
    <message>
        <source>IDS_CONTENT_EXPECTED_BY_%1</source>
        <translation>expected by %1</translation>
    </message>
    <message>
        <source>IDS_CONTENT_WAS_EXPECTED_%1</source>
        <translation>was expected at %1</translation>
    </message>
    <message>
        <source>IDS_CONTENT_TOUCH_%1</source>
        <translation>Digital Touch: %1</translation>
    </message>
    <message>
        <source>IDS_TOUCH_TAP</source>
        <translation>taps</translation>
    </message>
    <message>
        <source>IDS_TOUCH_SKETCH</source>
        <translation>sketch</translation>
    </message>
    <message>
        <source>IDS_TOUCH_KISS</source>
        <translation>kiss</translation>
    </message>
    <message>
        <source>IDS_TOUCH_HEARTBEAT</source>
        <translation>heartbeat</translation>
    </message>
    <message>
        <source>IDS_TOUCH_FIREBALL</source>
        <translation>fireball</translation>
    </message>
    <message>
        <source>IDS_TOUCH_MEDIA</source>
        <translation>photo or video</translation>
    </message>
    <message>
        <source>IDS_CONTENT_BEATS_%1</source>
        <translation>%1 beats a minute</translation>
    </message>
    <message>
        <source>IDS_CONTENT_ONE_STROKE</source>
        <translation>1 stroke</translation>
    </message>
    <message>
        <source>IDS_CONTENT_STROKES_%1</source>
        <translation>%1 strokes</translation>
    </message>
    <message>
        <source>IDS_CONTENT_OPTION_GONE</source>
        <translation>An option no longer in the list</translation>
    </message>
    <message>
        <source>IDS_CONTENT_NO_VOTES</source>
        <translation>no votes</translation>
    </message>
    <message>
        <source>IDS_CONTENT_%1_CHOSEN</source>
        <translation>%1 (chosen)</translation>
    </message>
    <message>
        <source>IDS_CONTENT_TRANSCRIPT_%1</source>
        <translation>Transcript: %1</translation>
    </message>
    <message>
        <source>IDS_CONTENT_TRANSLATED_%1_%2_%3</source>
        <translation>Translated (%1 to %2): %3</translation>
    </message>
    <message>
        <source>IDS_BALLOON_APP_%1</source>
        <translation>Message from app %1</translation>
    </message>
    <message>
        <source>IDS_BODY_UNREADABLE</source>
        <translation>The text of this message can't be read.</translation>
    </message>
    <message>
        <source>IDS_TEXT_UNREADABLE</source>
        <translation>(can't be read)</translation>
    </message>
    <message>
        <source>IDS_PACKING_FILES_%1_OF_%2</source>
        <translation>Packing: %1/%2</translation>
    </message>
    <message>
        <source>IDS_HASHING_FILES_%1_OF_%2</source>
        <translation>Checksums: %1/%2</translation>
    </message>
    <message>
        <source>IDS_COPYING_FILES_%1_OF_%2</source>
        <translation>Files: %1/%2</translation>
    </message>
    <message>
        <source>IDS_NO_BAG_%1_%2</source>
        <translation>%1: %2; this folder is no bag with SHA-256 checksums.</translation>
    </message>
    <message>
        <source>IDS_REPLY_TO_%1</source>
        <translation>Reply to %1</translation>
    </message>
    <message>
        <source>IDS_SENT_WITH_%1</source>
        <translation>Sent with %1</translation>
    </message>
    <message>
        <source>IDS_EDITED</source>
        <translation>Edited</translation>
    </message>
    <message>
        <source>IDS_EDITED_%1</source>
        <translation>Edited, %1</translation>
    </message>
    <message>
        <source>IDS_EDIT_BEFORE_%1_%2</source>
        <translation>Before, %1: %2</translation>
    </message>
    <message>
        <source>IDS_UNSENT_%1</source>
        <translation>Unsent, %1</translation>
    </message>
    <message>
        <source>IDS_PART_UNSENT_%1</source>
        <translation>A part of this was unsent, %1</translation>
    </message>
    <message>
        <source>IDS_PART_DELETED_%1_%2</source>
        <translation>A part of this was recently deleted, %1: %2</translation>
    </message>
    <message>
        <source>IDS_CONTENT_AND_%1_MORE</source>
        <translation>and %1 more</translation>
    </message>
    <message>
        <source>IDS_NOT_DELIVERED</source>
        <translation>Not delivered</translation>
    </message>
    <message>
        <source>IDS_READ_BY_THEM_%1</source>
        <translation>Read by them %1</translation>
    </message>
    <message>
        <source>IDS_READ_BY_YOU_%1</source>
        <translation>Read by you %1</translation>
    </message>
    <message>
        <source>IDS_DELIVERED_%1</source>
        <translation>Delivered %1</translation>
    </message>
    <message>
        <source>IDS_JUNK</source>
        <translation>Marked as junk</translation>
    </message>
    <message>
        <source>IDS_FILTERED_PROMOTION</source>
        <translation>Filtered as a promotion</translation>
    </message>
    <message>
        <source>IDS_FILTERED_TRANSACTION</source>
        <translation>Filtered as a transaction</translation>
    </message>
    <message>
        <source>IDS_OFF_GRID</source>
        <translation>Sent by satellite</translation>
    </message>
    <message>
        <source>IDS_TO_BE_SENT_LATER</source>
        <translation>To be sent later</translation>
    </message>
    <message>
        <source>IDS_RECENTLY_DELETED_%1</source>
        <translation>Recently deleted, %1</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_ADDED_%2</source>
        <translation>%1 added %2 to the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_REMOVED_%2</source>
        <translation>%1 removed %2 from the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_CHANGED_NUMBER</source>
        <translation>%1 changed phone number.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_NAMED_%2</source>
        <translation>%1 named the conversation "%2".</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_REMOVED_NAME</source>
        <translation>%1 removed the name of the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_LEFT</source>
        <translation>%1 left the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_CHANGED_PHOTO</source>
        <translation>%1 changed the photo of the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_REMOVED_PHOTO</source>
        <translation>%1 removed the photo of the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_CHANGED_BACKGROUND</source>
        <translation>%1 changed the background of the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_REMOVED_BACKGROUND</source>
        <translation>%1 removed the background of the conversation.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_STARTED_SHARING_WITH_%2</source>
        <translation>%1 started sharing location with %2.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_STOPPED_SHARING_WITH_%2</source>
        <translation>%1 stopped sharing location with %2.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_KEPT_AUDIO</source>
        <translation>%1 kept an audio message.</translation>
    </message>
    <message>
        <source>IDS_EVENT_%1_CALL</source>
        <translation>%1 started a FaceTime or SharePlay session.</translation>
    </message>
    <message>
        <source>IDS_EVENT_UNKNOWN_%1_%2</source>
        <translation>System Information (%1, %2).</translation>
    </message>
</context>
</TS>
