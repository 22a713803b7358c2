#pragma once

#include "backupbuilder.h"
#include "iosversion.h"
#include "samplerandom.h"

/// A phone that ran this generation; its `udid` is drawn from `random`, in the shape of its time.
SampleDevice sampleDevice(IosVersion version, SampleRandom &random);
