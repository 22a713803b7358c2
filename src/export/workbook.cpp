// Office Open XML by libxlsxwriter in the mode that keeps one row of each sheet in memory. A cell holds
// 32,767 UTF-16 units and a sheet 1,048,576 rows (ECMA-376 and the limits that spreadsheets publish). In
// cells
// "_x0041_" stands for a sign by its number, so a text that says so gets its underline escaped.

#include "export/workbook.h"

#include "export/zipfile.h"

#include <QDateTime>
#include <QRegularExpression>

#include <xlsxwriter.h>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype longestCell = 32'000; // some escapes are counted as what they stand for, some not
constexpr lxw_row_t mostRows = 1'048'576;
constexpr double dateWidth = 20; // characters

void check(lxw_error error)
{
    if (error != LXW_NO_ERROR)
        throw std::runtime_error(lxw_strerror(error));
}

/// Without what XML can't hold, and with nothing that reads as an escape.
QString cellText(QString text)
{
    static const QRegularExpression escape(u"_(?=x[0-9A-Fa-f]{4}_)"_s);
    text.replace(escape, u"_x005F_"_s);
    for (QChar &sign : text) {
        if (sign == QChar(0xFFFE) || sign == QChar(0xFFFF) || sign.isNull())
            sign = QChar::ReplacementCharacter;
    }
    return text;
}

/// Where a piece of `text` that begins at `from` ends: never within a surrogate pair.
qsizetype pieceEnd(const QString &text, qsizetype from)
{
    qsizetype end = std::min(from + longestCell, text.size());
    if (end < text.size() && text.at(end).isLowSurrogate())
        --end;
    return end;
}

QStringList pieces(const QString &text)
{
    QStringList list;
    for (qsizetype from = 0; from < text.size();) {
        const qsizetype end = pieceEnd(text, from);
        list.append(text.sliced(from, end - from));
        from = end;
    }
    return list;
}

lxw_datetime clockOf(const QDateTime &date)
{
    const QDate day = date.date();
    const QTime time = date.time();
    return {day.year(), day.month(), day.day(), time.hour(), time.minute(), double(time.second())};
}

/// The rows of all sheets.
qint64 rowsInFile(const QString &path)
{
    static constexpr QByteArrayView rowEnd = "</row>";
    qint64 rows = 0;
    QByteArray rest; // where a row's end may lie across two blocks
    readZip(path, [&](const QString &name, QByteArrayView block) {
        if (!name.startsWith("xl/worksheets/"_L1))
            return;
        rest.append(block);
        rows += rest.count(rowEnd);
        rest = rest.last(std::min(rest.size(), rowEnd.size() - 1));
    });
    return rows;
}

} // namespace

/// A sheet, and those that go on where it is full.
class Workbook::Sheet
{
public:
    Sheet(lxw_workbook *book, const QString &name, const QList<Heading> &headings)
        : book(book), name(name), headings(headings)
    {
        heading = workbook_add_format(book);
        format_set_bold(heading);
        dateFormat = workbook_add_format(book);
        format_set_num_format(dateFormat, "yyyy-mm-dd hh:mm:ss");
        start();
    }

    void addRow(const QVariantList &cells)
    {
        QList<QStringList> texts;
        qsizetype height = 1;
        for (const QVariant &cell : cells) {
            texts.append(cell.typeId() == QMetaType::QString ? pieces(cell.toString()) : QStringList());
            height = std::max(height, texts.last().size());
        }
        for (qsizetype line = 0; line < height; ++line)
            addLine(cells, texts, line);
    }

    /// With headings.
    qint64 rows() const { return fullSheetRows + row; }

private:
    void start()
    {
        fullSheetRows += row;
        const QString title = ++count == 1 ? name : u"%1 %2"_s.arg(name).arg(count);
        sheet = workbook_add_worksheet(book, title.toUtf8().constData());
        if (!sheet)
            throw std::runtime_error("The sheet could not be made.");
        lxw_col_t column = 0;
        for (const Heading &told : std::as_const(headings)) {
            if (told.isDate)
                check(worksheet_set_column(sheet, column, column, dateWidth, nullptr));
            check(worksheet_write_string(sheet, 0, column++, told.name.toUtf8().constData(), heading));
            if (told.isDate)
                check(worksheet_write_string(sheet, 0, column++,
                                             (told.name + u"_offset"_s).toUtf8().constData(), heading));
        }
        worksheet_freeze_panes(sheet, 1, 0);
        row = 1;
    }

    void addLine(const QVariantList &cells, const QList<QStringList> &texts, qsizetype line)
    {
        if (row == mostRows)
            start();
        lxw_col_t column = 0;
        for (qsizetype i = 0; i < cells.size(); ++i) {
            if (!texts.at(i).value(line).isEmpty())
                check(worksheet_write_string(sheet, row, column,
                                             cellText(texts.at(i).at(line)).toUtf8().constData(), nullptr));
            else if (line == 0 || i == 0)
                addValue(column, cells.at(i));
            column += headings.at(i).isDate ? 2 : 1;
        }
        ++row;
    }

    void addValue(lxw_col_t column, const QVariant &value)
    {
        const QDateTime date = value.toDateTime();
        if (value.typeId() == QMetaType::Bool) {
            check(worksheet_write_boolean(sheet, row, column, value.toBool(), nullptr));
        } else if (value.typeId() == QMetaType::LongLong) {
            check(worksheet_write_number(sheet, row, column, double(value.toLongLong()), nullptr));
        } else if (value.typeId() == QMetaType::QDateTime && date.isValid()) {
            lxw_datetime clock = clockOf(date);
            check(worksheet_write_datetime(sheet, row, column, &clock, dateFormat));
            const QString offset = date.offsetFromUtc() == 0 ? u"+00:00"_s : date.toString(u"t"_s).mid(3);
            check(worksheet_write_string(sheet, row, lxw_col_t(column + 1), offset.toUtf8().constData(),
                                         nullptr));
        }
    }

    lxw_workbook *book;
    QString name;
    QList<Heading> headings;
    lxw_worksheet *sheet = nullptr;
    lxw_format *heading = nullptr;
    lxw_format *dateFormat = nullptr;
    lxw_row_t row = 0;
    int count = 0;
    qint64 fullSheetRows = 0;
};

Workbook::Workbook(const QString &path, const QString &temporaryFolder)
    : path(path), temporaryFolder(QFile::encodeName(temporaryFolder))
{
    lxw_workbook_options options = {};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = this->temporaryFolder.data();
    options.use_zip64 = LXW_TRUE;
    book = workbook_new_opt(QFile::encodeName(path).constData(), &options);
    if (!book)
        throw std::runtime_error(u"%1: the workbook can't be made."_s.arg(path).toStdString());
    // The library would take the time of writing.
    lxw_doc_properties properties = {};
    properties.created = QDateTime(QDate(2001, 1, 1), QTime(), Qt::UTC).toSecsSinceEpoch();
    check(workbook_set_properties(book, &properties));
}

Workbook::~Workbook()
{
    if (book)
        lxw_workbook_free(book);
}

int Workbook::addSheet(const QString &name, const QList<Heading> &headings)
{
    sheets.emplace_back(book, name, headings);
    return int(sheets.size()) - 1;
}

void Workbook::addRow(int sheet, const QVariantList &cells)
{
    sheets.at(size_t(sheet)).addRow(cells);
}

void Workbook::close()
{
    const lxw_error error = workbook_close(std::exchange(book, nullptr)); // frees it as well
    if (error != LXW_NO_ERROR)
        throw std::runtime_error(u"%1: %2"_s.arg(path, QString::fromUtf8(lxw_strerror(error))).toStdString());
    qint64 written = 0;
    for (const Sheet &sheet : sheets)
        written += sheet.rows();
    if (rowsInFile(path) != written)
        throw std::runtime_error(
            u"%1: rows are missing in the file; is the disk full?"_s.arg(path).toStdString());
}
