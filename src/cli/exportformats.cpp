#include "cli/exportformats.h"

#include "cli/exitstatus.h"

#include <QHash>

using namespace Qt::StringLiterals;

ExportFormat formatNamed(const QString &name, bool hasAllColumns)
{
    static const QHash<QString, ExportFormat> formats = {
        {u"txt"_s, ExportText},          {u"csv"_s, ExportCsv},         {u"html"_s, ExportHtml},
        {u"pdf"_s, ExportPdf},           {u"jsonl"_s, ExportJsonLines}, {u"xlsx"_s, ExportXlsx},
        {u"android"_s, ExportAndroidSms}};
    const auto format = formats.constFind(name);
    if (format == formats.cend())
        throw CommandError(
            ExitStatus::Usage,
            u"Unknown format \"%1\"; there are txt, csv, html, pdf, jsonl, xlsx and android."_s.arg(name));
    return *format == ExportCsv && hasAllColumns ? ExportFullTable : *format;
}
