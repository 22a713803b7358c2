#pragma once

#include "export/exportmessages.h"

/// The format of that name on the command line; CSV has all columns on request. Throws `CommandError` when
/// there is none.
ExportFormat formatNamed(const QString &name, bool hasAllColumns);
