#include "sqlite_qt/databasefiles.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

QString copyFile(const QString &from, const QString &to)
{
    QFile source(from);
    const auto ours = QFile::ReadOwner | QFile::WriteOwner;
    const bool isCopied = source.copy(to) && QFile::setPermissions(to, QFile::permissions(to) | ours);
    return isCopied ? QString() : u"%1: %2"_s.arg(from, source.errorString());
}

} // namespace

bool hasLogOrJournal(const QString &path)
{
    return std::any_of(contentSuffixes.begin(), contentSuffixes.end(),
                       [&](QLatin1StringView suffix) { return QFileInfo(path + suffix).size() > 0; });
}

QString copyDatabase(const QString &source, const QString &target)
{
    QString failure = copyFile(source, target);
    for (const QLatin1StringView suffix : contentSuffixes) {
        if (failure.isNull() && QFile::exists(source + suffix))
            failure = copyFile(source + suffix, target + suffix);
    }
    return failure;
}
