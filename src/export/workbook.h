#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

struct lxw_workbook;

/// A workbook that is written row by row. Sheets may be filled in turns.
class Workbook
{
public:
    /// `temporaryFolder` takes what is written before the end.
    Workbook(const QString &path, const QString &temporaryFolder);
    ~Workbook();

    /// Adds a sheet with these headings and hands back its number. A column of dates is told by `isDate`: a
    /// column of their offsets from UTC follows it.
    struct Heading {
        QString name;
        bool isDate = false;
    };
    int addSheet(const QString &name, const QList<Heading> &headings);

    /// Adds a row to a sheet; cells are as those of `TableColumn`. Throws `std::runtime_error`.
    void addRow(int sheet, const QVariantList &cells);

    /// Writes the file, and counts its rows: the library doesn't tell when the disk was full meanwhile.
    /// Throws `std::runtime_error`.
    void close();

private:
    class Sheet;

    QString path;
    QByteArray temporaryFolder; ///< the library keeps the pointer
    lxw_workbook *book;         ///< null once closed
    std::vector<Sheet> sheets;
};
