#include "backup/backupfilename.h"

namespace
{

constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");

// The bytes that `text()` has in UTF-8. Nearly all strings are plain already and go without a copy.
QByteArray textBytes(const _MbdbString &string)
{
    const bool isPlain =
        string.bytes.isValidUtf8() && !string.bytes.contains('\0') && !string.bytes.startsWith(byteOrderMark);
    if (string.isPresent() && isPlain)
        return string.bytes;
    return string.text().toUtf8();
}

QString hexText(QByteArrayView bytes)
{
    constexpr char16_t digits[] = u"0123456789abcdef";
    QString text(bytes.size() * 2, Qt::Uninitialized);
    QChar *out = text.data();
    for (const char byte : bytes) {
        *out++ = digits[quint8(byte) >> 4];
        *out++ = digits[quint8(byte) & 15];
    }
    return text;
}

} // namespace

QString BackupFileName::of(QByteArrayView domain, QByteArrayView path)
{
    sha1.reset();
    sha1.addData(domain);
    sha1.addData("-");
    sha1.addData(path);
    return hexText(sha1.resultView());
}

QString BackupFileName::of(const _MbdbRecord &record)
{
    return of(textBytes(record.domain), textBytes(record.path));
}
