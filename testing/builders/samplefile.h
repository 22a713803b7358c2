#pragma once

#include "testing/builders/samplecontent.h"

/// A file of a phone, by the place it has in a backup.
struct SampleFile {
    QString domain;
    QString path;
    SampleContent content;
    bool isMissing = false; ///< listed by the backup, but not there
};
