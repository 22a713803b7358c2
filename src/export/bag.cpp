// RFC 8493: "bagit.txt" declares the bag, "bag-info.txt" tells of it, "manifest-sha256.txt" lists what lies
// below "data" and "tagmanifest-sha256.txt" the files beside that. A line of a manifest is a checksum in
// hex, blanks, and a path with "/", in which a line feed, a carriage return and "%" stand as "%0A", "%0D"
// and "%25". sha256sum knows nothing of these escapes, so the names that we give have none of the three.

#include "export/bag.h"

#include "app/filetools.h"
#include "app/jobprogress.h"
#include "export/exportconversation.h"
#include "export/exporttarget.h"
#include "export/messagerecord.h"

#include <QDirIterator>
#include <QMap>
#include <QObject>
#include <QRegularExpression>
#include <QSet>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto payloadManifest = "manifest-sha256.txt"_L1;
constexpr auto tagManifest = "tagmanifest-sha256.txt"_L1;
constexpr qint64 longestLine = 64 * 1024; // bytes

using Checksums = QMap<QString, QString>; ///< by path from the bag's folder

void writeText(const QString &path, const QString &text)
{
    ExportTarget target(path);
    target.open();
    target.text() << text;
    target.finish();
}

/// All files, links too, sorted; `below` ends in "/" or is empty.
QStringList filesBelow(const QDir &folder, const QString &below = {})
{
    QStringList files;
    for (QDirIterator it(folder.filePath(below),
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString path = it.next();
        if (!it.fileInfo().isDir() || it.fileInfo().isSymLink())
            files.append(folder.relativeFilePath(path));
    }
    files.sort();
    return files;
}

QString manifestText(const QDir &folder, const QStringList &files, JobProgress &progress)
{
    QString text;
    workThrough(files, progress, QObject::tr("IDS_HASHING_FILES_%1_OF_%2"), [&](const QString &file) {
        text += sha256OfFile(folder.filePath(file)) + u"  "_s + file + u'\n';
    });
    return text;
}

QString unescaped(QString path)
{
    path.replace("%0A"_L1, "\n"_L1, Qt::CaseInsensitive).replace("%0D"_L1, "\r"_L1, Qt::CaseInsensitive);
    return path.replace("%25"_L1, "%"_L1);
}

void addLine(Checksums &checksums, const QString &line, const QString &manifest)
{
    static const QRegularExpression pattern(u"^([0-9A-Fa-f]{64})[ \\t]++\\*?(?:\\./)?(.+)$"_s);
    const QRegularExpressionMatch match = pattern.match(line);
    const QString path = unescaped(match.captured(2));
    if (!match.hasMatch() || checksums.contains(path))
        throw std::runtime_error(
            u"%1: this line is no checksum of a file, or its file stands there twice: %2"_s
                .arg(manifest, line)
                .toStdString());
    checksums.insert(path, match.captured(1).toLower());
}

Checksums readManifest(const QDir &folder, QLatin1StringView name)
{
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        throwFileError(QObject::tr("IDS_NO_BAG_%1_%2"), file);
    Checksums checksums;
    while (!file.atEnd()) {
        QByteArray line = file.readLine(longestLine);
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        if (!line.isEmpty())
            addLine(checksums, QString::fromUtf8(line), file.fileName());
    }
    return checksums;
}

void compare(const QDir &folder, const Checksums &checksums, BagCheck &check, JobProgress &progress)
{
    workThrough(checksums.keys(), progress, QObject::tr("IDS_HASHING_FILES_%1_OF_%2"),
                [&](const QString &name) {
                    ++check.files;
                    const std::optional<QString> path = pathBelow(folder, name);
                    if (!path || !QFileInfo(*path).isFile())
                        check.missing.append(name);
                    else if (sha256OfFile(*path) != checksums.value(name))
                        check.changed.append(name);
                });
}

} // namespace

void finishBag(const QDir &folder, const QList<std::pair<QString, QString>> &info, JobProgress &progress)
{
    const QStringList payload = filesBelow(folder, u"data/"_s);
    qint64 bytes = 0;
    for (const QString &file : payload)
        bytes += QFileInfo(folder.filePath(file)).size();
    QString infoText;
    for (const auto &[label, value] : info)
        infoText += label + u": "_s + QString(value).simplified() + u'\n';
    infoText += u"Payload-Oxum: %1.%2\n"_s.arg(bytes).arg(payload.size());
    writeText(folder.filePath(payloadManifest), manifestText(folder, payload, progress));
    writeText(folder.filePath(u"bagit.txt"_s), u"BagIt-Version: 1.0\nTag-File-Character-Encoding: UTF-8\n"_s);
    writeText(folder.filePath(u"bag-info.txt"_s), infoText);
    const QStringList tags = {u"bag-info.txt"_s, u"bagit.txt"_s, payloadManifest};
    writeText(folder.filePath(tagManifest), manifestText(folder, tags, progress));
}

BagCheck checkBag(const QDir &folder, JobProgress &progress)
{
    const Checksums payload = readManifest(folder, payloadManifest);
    const Checksums tags = readManifest(folder, tagManifest);
    BagCheck check;
    compare(folder, payload, check, progress);
    compare(folder, tags, check, progress);
    for (const QString &file : filesBelow(folder)) {
        const bool isOwn = file == tagManifest || file == QLatin1StringView(bagRunFile);
        if (!isOwn && !payload.contains(file) && !tags.contains(file))
            check.extra.append(file);
    }
    return check;
}

QString bagFileName(const QString &name)
{
    return legalFileName(QString(name).replace(u'%', u'_'));
}
