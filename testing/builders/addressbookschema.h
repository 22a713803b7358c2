#pragma once

/// The SQL that makes an empty AddressBook.sqlitedb of iOS 6.
extern const char *const addressBookSchema;

/// The SQL that makes an empty AddressBookImages.sqlitedb.
extern const char *const addressBookImagesSchema;
