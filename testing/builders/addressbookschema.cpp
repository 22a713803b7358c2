#include "testing/builders/addressbookschema.h"

const char *const addressBookSchema = R"sql(
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
CREATE TABLE ABPerson (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, First TEXT, Last TEXT, Middle TEXT, FirstPhonetic TEXT, MiddlePhonetic TEXT, LastPhonetic TEXT, Organization TEXT, Department TEXT, Note TEXT, Kind INTEGER, Birthday TEXT, JobTitle TEXT, Nickname TEXT, Prefix TEXT, Suffix TEXT, FirstSort TEXT, LastSort TEXT, CreationDate INTEGER, ModificationDate INTEGER, CompositeNameFallback TEXT, ExternalIdentifier TEXT, ExternalModificationTag TEXT, ExternalUUID TEXT, StoreID INTEGER, DisplayName TEXT, ExternalRepresentation BLOB, FirstSortSection TEXT, LastSortSection TEXT, FirstSortLanguageIndex INTEGER DEFAULT 2147483647, LastSortLanguageIndex INTEGER DEFAULT 2147483647, PersonLink INTEGER DEFAULT -1, ImageURI TEXT, IsPreferredName INTEGER DEFAULT 1);
CREATE TABLE ABPersonLink (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, PreferredNamePersonID INTEGER DEFAULT -1, PreferredImagePersonID INTEGER DEFAULT -1);
CREATE TABLE ABPersonChanges (record INTEGER, type INTEGER, Image INTEGER, ExternalIdentifier TEXT, StoreID INTEGER);
CREATE TABLE ABPersonMultiValueDeletes (record_id INTEGER, property_id INTEGER, identifier INTEGER);
CREATE TABLE ABPersonSearchKey (person_id INTEGER UNIQUE, SearchKey BLOB);
CREATE TABLE ABMultiValue (UID INTEGER PRIMARY KEY, record_id INTEGER, property INTEGER, identifier INTEGER, label INTEGER, value TEXT);
CREATE TABLE ABMultiValueEntry (parent_id INTEGER, key INTEGER, value TEXT, UNIQUE(parent_id, key));
CREATE TABLE ABMultiValueEntryKey (value TEXT, UNIQUE(value));
CREATE TABLE ABMultiValueLabel (value TEXT, UNIQUE(value));
CREATE TABLE ABPhoneLastFour (multivalue_id INTEGER PRIMARY KEY, value TEXT);
CREATE TABLE ABGroup (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, Name TEXT, ExternalIdentifier TEXT, StoreID INTEGER, ExternalModificationTag TEXT, ExternalRepresentation BLOB, ExternalUUID TEXT);
CREATE TABLE ABGroupChanges (record INTEGER, type INTEGER, ExternalIdentifier TEXT, StoreID INTEGER, ExternalUUID TEXT);
CREATE TABLE ABGroupMembers (UID INTEGER PRIMARY KEY, group_id INTEGER, member_type INTEGER, member_id INTEGER, UNIQUE(group_id, member_type, member_id));
CREATE TABLE ABRecent (date INTEGER, name TEXT, property INTEGER, value TEXT);
CREATE TABLE ABStore (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, Name TEXT, ExternalIdentifier TEXT, Type INTEGER, ConstraintsPath TEXT, ExternalModificationTag TEXT, ExternalSyncTag TEXT, AccountID INTEGER DEFAULT -1, Enabled INTEGER DEFAULT 1, SyncData BLOB, MeIdentifier INTEGER DEFAULT -1, Capabilities INTEGER DEFAULT 0);
CREATE TABLE FirstSortSectionCount (StoreID INTEGER, LanguageIndex INTEGER, Section TEXT, Count INTEGER, UNIQUE(StoreID, LanguageIndex, Section));
CREATE TABLE LastSortSectionCount (StoreID INTEGER, LanguageIndex INTEGER, Section TEXT, Count INTEGER, UNIQUE(StoreID, LanguageIndex, Section));
CREATE INDEX ABMultiValueIdentifierIndex ON ABMultiValue(record_id, property, identifier, label, value);
CREATE INDEX ABMultiValueEntryKeyIndex ON ABMultiValueEntryKey(value);
CREATE INDEX ABPhoneLastFourIndex ON ABPhoneLastFour(value);
CREATE INDEX ABFirstSortIndex ON ABPerson(FirstSort);
CREATE INDEX ABLastSortIndex ON ABPerson(LastSort);
CREATE INDEX ABPersonExternalIdentifierIndex ON ABPerson(ExternalIdentifier, StoreID);
CREATE TRIGGER delete_phone_last_four AFTER DELETE ON ABMultiValue WHEN (OLD.property = 3) BEGIN DELETE FROM ABPhoneLastFour WHERE multivalue_id = OLD.UID; END;
INSERT INTO ABStore(ROWID, Name, Type) VALUES(0, NULL, 0);
INSERT INTO ABMultiValueLabel VALUES('_$!<Mobile>!$_');
INSERT INTO ABMultiValueLabel VALUES('_$!<Home>!$_');
INSERT INTO ABMultiValueLabel VALUES('_$!<Work>!$_');
INSERT INTO ABMultiValueEntryKey VALUES('Street'), ('ZIP'), ('City'), ('CountryCode'), ('State'), ('Country');
INSERT INTO _SqliteDatabaseProperties VALUES('_ClientVersion', '25'), ('_UniqueIdentifier', '0C3F7E12-5B0E-4D52-8F0D-6F0B6E6A7C11');
)sql";

const char *const addressBookImagesSchema = R"sql(
CREATE TABLE _SqliteDatabaseProperties (key TEXT, value TEXT, UNIQUE(key));
CREATE TABLE ABFullSizeImage (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, record_id INTEGER, crop_x INTEGER, crop_y INTEGER, crop_width INTEGER, data BLOB, UNIQUE(record_id));
CREATE TABLE ABThumbnailImage (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, record_id INTEGER, format INTEGER, derived_from_format INTEGER, data BLOB, UNIQUE(record_id, format));
INSERT INTO _SqliteDatabaseProperties VALUES('_ClientVersion', '5');
)sql";
