#include "device/tooloutput.h"

#include <QProcess>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype mostKept = 1024 * 1024; // bytes
constexpr qsizetype longestLine = 200;      // of those that tell how far the tool is

} // namespace

void PrintedText::add(const QByteArray &piece)
{
    if (isCut)
        return;
    const qsizetype nul = piece.indexOf('\0');
    isCut = nul >= 0;
    const qsizetype overlap = std::min<qsizetype>(kept.size(), qsizetype(strlen("error")) - 1);
    kept += isCut ? piece.first(nul) : piece;
    const qsizetype searched = kept.size() - (isCut ? nul : piece.size()) - overlap;
    sawError |= kept.sliced(searched).toLower().contains("error");
    if (kept.size() > 2 * mostKept)
        kept = kept.last(mostKept);
}

void ToolOutput::take(QProcess &tool)
{
    errors.add(tool.readAllStandardError());
    words.add(tool.readAllStandardOutput());
}

QString ToolOutput::text() const
{
    return QString::fromLatin1(errors.endsAll() ? errors.text() : errors.text() + '\n' + words.text());
}

bool ToolOutput::endsWell() const
{
    const QByteArray all = words.text().trimmed();
    return all.sliced(all.lastIndexOf('\n') + 1).toLower().contains("successful");
}

std::optional<int> ToolOutput::percent() const
{
    static const QRegularExpression finished(u"\\[[= ]*\\] +(\\d{1,3})% Finished"_s);
    const QByteArray all = words.text();
    const QString end = QString::fromLatin1(all.last(std::min(all.size(), longestLine)));
    std::optional<int> last;
    for (const QRegularExpressionMatch &match : finished.globalMatch(end))
        last = match.captured(1).toInt();
    return last;
}
