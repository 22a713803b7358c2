#pragma once

#include "export/exportmessages.h"

class QDateTime;

// What a dialog that asks for the target of an export offers, and what the answer means.

/// The filters for a file dialog, joined by ";;".
QString exportFilters();

/// A path in the user's home folder that tells the time, without suffix.
QString proposedExportPath(const QDateTime &now);

/// The export that a typed name and one of the filters ask for. A name without a suffix gets the one of
/// the filter; for one file a conversation the folder lies beside the name: "sms.pdf" means "sms-pdf".
/// Throws `std::runtime_error` for an unknown filter.
ExportPlan exportPlan(const QString &fileName, const QString &filter);
