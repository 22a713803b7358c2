#include "app/filetools.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <stdexcept>

using namespace Qt::StringLiterals;

bool isPlainComponent(QStringView component)
{
    if (component.isEmpty() || component == "."_L1 || component == ".."_L1)
        return false;
    const bool namesDrive = component.size() > 1 && component[0].isLetter() && component[1] == u':';
    // Windows reads the backslash as a separator.
    return !namesDrive && !component.contains(u'\\') && !component.contains(QChar::Null);
}

QString uniqueFileName(const QString &path)
{
    if (!QFile::exists(path))
        return path;
    const QFileInfo info(path);
    const QString suffix = info.suffix().isEmpty() ? QString() : u"."_s + info.suffix();
    for (qint64 n = 1;; ++n) {
        const QString candidate =
            info.dir().filePath(u"%1(%2)"_s.arg(info.baseName(), QString::number(n)) + suffix);
        if (!QFile::exists(candidate))
            return candidate;
    }
}

void renameThrow(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), error);
    if (error)
        throw std::runtime_error(to.toStdString() + ": " + error.message());
}

void removeTree(const QString &folder)
{
    const QDir dir(folder);
    if (!dir.exists())
        return;
    // "System" names links whose target is missing.
    const auto all = QDir::AllEntries | QDir::Drives | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo &entry : dir.entryInfoList(all)) {
        if (entry.isDir() && !entry.isSymLink())
            removeTree(entry.absoluteFilePath());
        else
            QFile::remove(entry.absoluteFilePath());
    }
    QDir().rmdir(dir.absolutePath());
}

void markAsCache(const QDir &folder)
{
    constexpr QByteArrayView tag = "Signature: 8a477f597d28d172789f06886806bc55\n"
                                   "# Copies that Marrowlight Message Vault makes anew when it needs them.\n";
    QFile file(folder.filePath(u"CACHEDIR.TAG"_s));
    if (file.exists())
        return;
    if (!file.open(QIODevice::WriteOnly) || file.write(tag.data(), tag.size()) != tag.size() || !file.flush())
        qWarning("%ls isn't marked as a cache: %ls", qUtf16Printable(folder.path()),
                 qUtf16Printable(file.errorString()));
}

QString safeFileName(const QString &name)
{
    // No regular expression: those match nothing in a text with a half of a surrogate pair.
    static const QString forbidden = u"\\/:*?\"<>|"_s;
    return QString(name).removeIf([](QChar sign) { return forbidden.contains(sign); }).trimmed();
}

std::optional<QString> pathBelow(const QDir &root, const QString &name)
{
    QString path = root.absolutePath();
    for (const QStringView component : QStringView(name).split(u'/')) {
        if (!isPlainComponent(component))
            return std::nullopt;
        path += u'/' + component;
        if (QFileInfo(path).isSymLink())
            return std::nullopt;
    }
    return path;
}

QString md5Hex(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

void throwFileError(const QString &text, const QFile &file)
{
    throw std::runtime_error(text.arg(file.fileName(), file.errorString()).toStdString());
}
