#pragma once

#include "testing/builders/backupbuilder.h"
#include "testing/builders/iosversion.h"
#include "testing/builders/samplerandom.h"

/// A phone that ran this generation; its `udid` is drawn from `random`, in the shape of its time.
SampleDevice sampleDevice(IosVersion version, SampleRandom &random);
