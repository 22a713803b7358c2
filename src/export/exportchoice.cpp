#include "export/exportchoice.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

struct Choice {
    QString filter;
    ExportFormat format;
    QString ending; ///< suffix of the file, or end of the folder's name
};

QList<Choice> choices()
{
    return {{QObject::tr("Text Files(*.txt)"), ExportText, u".txt"_s},
            {QObject::tr("Doc Files(*.doc)"), ExportText, u".doc"_s},
            {QObject::tr("CSV Files(*.csv)"), ExportCsv, u".csv"_s},
            {QObject::tr("PDF Files(*.pdf)"), ExportPdf, u"-pdf"_s},
            {QObject::tr("HTML Files(*.html)"), ExportHtml, u"-html"_s},
            {QObject::tr("CSV Files with all columns(*.csv)"), ExportFullTable, u".csv"_s},
            {QObject::tr("Excel Files(*.xlsx)"), ExportXlsx, u".xlsx"_s},
            {QObject::tr("JSON Lines Files(*.jsonl)"), ExportJsonLines, u".jsonl"_s},
            {QObject::tr("Android SMS Files(*.xml)"), ExportAndroidSms, u".xml"_s}};
}

QString targetPath(const QString &fileName, const Choice &choice)
{
    const QFileInfo info(fileName);
    if (choice.format == ExportPdf || choice.format == ExportHtml)
        return info.dir().filePath(info.baseName() + choice.ending);
    return info.suffix().isEmpty() ? QString(fileName + choice.ending) : fileName;
}

} // namespace

QString exportFilters()
{
    QStringList filters;
    for (const Choice &choice : choices())
        filters.append(choice.filter);
    return filters.join(u";;"_s);
}

QString proposedExportPath(const QDateTime &now)
{
    return QDir::home().filePath(u"sms(%1)"_s.arg(now.toString(u"yyyyMMdd-hhmmss"_s)));
}

ExportPlan exportPlan(const QString &fileName, const QString &filter)
{
    for (const Choice &choice : choices()) {
        if (choice.filter == filter)
            return {targetPath(fileName, choice), choice.format};
    }
    throw std::runtime_error("unknown export format.");
}
