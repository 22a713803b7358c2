#include "export/exportfullcsv.h"

#include "export/messagecolumns.h"

using namespace Qt::StringLiterals;

namespace
{

/// Spreadsheets skip blanks before a formula, and some take the wide forms of its signs as well.
bool looksLikeFormula(QStringView text)
{
    static constexpr QStringView signs = u"=+-@\uFF1D\uFF0B\uFF0D\uFF20";
    const QStringView trimmed = text.trimmed();
    return (!trimmed.isEmpty() && signs.contains(trimmed.front())) || text.startsWith(u'\t') ||
           text.startsWith(u'\r');
}

QString cell(const QVariant &value)
{
    if (value.typeId() == QMetaType::QDateTime)
        return isoText(value.toDateTime());
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? u"1"_s : u"0"_s;
    if (value.typeId() != QMetaType::QString)
        return value.toString();
    QString text = value.toString();
    if (looksLikeFormula(text))
        text.prepend(u'\'');
    const bool needsQuotes =
        text.contains(u',') || text.contains(u'"') || text.contains(u'\n') || text.contains(u'\r');
    return needsQuotes ? QString(u'"' + text.replace(u'"', "\"\""_L1) + u'"') : text;
}

} // namespace

ExportFullCsv::ExportFullCsv(const QString &path, GuidTest isOwnGuid, Utf8Mark mark)
    : target(path)
    , records(MessageRecordMaker::Hashes::Made, EmojiStyle::Characters, std::move(isOwnGuid))
    , mark(mark)
{
}

void ExportFullCsv::begin()
{
    target.open();
    QStringList names;
    for (const auto &column : messageColumns())
        names.append(QLatin1StringView(column.name));
    if (mark == Utf8Mark::Written)
        target.text().setGenerateByteOrderMark(true);
    target.text() << names.join(u',') << u'\n';
}

void ExportFullCsv::write(const _MsgMessage &message)
{
    const MessageRecord record = records.record(message);
    QStringList cells;
    for (const auto &column : messageColumns())
        cells.append(cell(column.value(record)));
    target.text() << cells.join(u',') << u'\n';
}
