#pragma once

#include "tools/samplephone/sampletouches.h"

/// One touch for each kind of message that came since iOS 10, as far as this generation has it: see
/// sampleTouches(). Those that answer another message aim at the scene's.
QList<SampleTouch> modernTouches(IosVersion version);
