#include "backup/mbdbrecord.h"

#include "backup/backupfilename.h"

QString _MbdbString::text() const
{
    if (!isPresent())
        return {};
    return QString::fromUtf8(bytes.constData(), qsizetype(qstrnlen(bytes.constData(), size_t(bytes.size()))));
}

QString mbdbFileName(const QString &domain, const QString &path)
{
    return BackupFileName().of(domain.toUtf8(), path.toUtf8());
}

QString recordFileName(const _MbdbRecord &record)
{
    return record.fileId.isEmpty() ? BackupFileName().of(record) : QString::fromLatin1(record.fileId);
}

bool isEmptyEntry(const _MbdbRecord &record)
{
    return !record.isFile && record.fileLength == 0 && record.linkTarget.text().isEmpty();
}
