#pragma once

#include <QByteArray>
#include <QString>

/// Base64 of the UTF-8 of `value` with "!" for "/" and "-" for "=". A "+" stays as it is: the
/// receiving script reads the field that way.
QString encodeReportField(const QString &value);

/// Form body of a report about `text`: the fields `prod`, `ver` and `err`, line breaks of rich text
/// turned into "\r\n".
QByteArray errorReportBody(const QString &text);

/// Posts a report about `text` to the report host and returns at once; nobody learns of its outcome.
/// Without a report host nothing goes over the network. Main thread only.
void sendErrorReport(const QString &text);
