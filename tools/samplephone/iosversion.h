#pragma once

/// The generations of phone software whose message databases differ.
enum class IosVersion { Ios5 = 5, Ios6 = 6, Ios7 = 7, Ios8 = 8 };
