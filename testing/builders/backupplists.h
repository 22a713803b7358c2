#pragma once

#include "testing/builders/backupbuilder.h"
#include "testing/builders/sampleplist.h"

/// What the three property lists of a backup tell.
struct BackupFacts {
    SampleDevice phone;
    QDateTime date;
    bool isEncrypted;
    QByteArray keyBag;
    QString snapshotState;
    bool isModern = false;       ///< of iOS 10 or later
    QByteArray manifestKey = {}; ///< null: Manifest.db is not enciphered
};

SamplePlist manifestPlist(const BackupFacts &facts);
SamplePlist statusPlist(const BackupFacts &facts);
SamplePlist infoPlist(const BackupFacts &facts);
