#pragma once

#include "testing/builders/samplembdb.h"

/// What `Files.file` of Manifest.db holds for a record: an MBFile in a keyed archive.
QByteArray sampleMbFile(const SampleRecord &record);
