#pragma once

#include "recovery/exact/sqliteformat.h"

#include <unordered_map>

/// The pages of a database at one moment: those of its main file, under those that a write-ahead log or a
/// journal has put in their place. Bytes are borrowed.
class DatabaseState
{
public:
    DatabaseState(QByteArrayView mainFile, const PageLayout &pageLayout)
        : file(mainFile), layout(pageLayout), pages(quint32(mainFile.size() / pageLayout.size))
    {
    }

    const PageLayout &pageLayout() const { return layout; }
    quint32 pageCount() const { return pages; }

    /// The usable bytes of page `number`, from 1; empty where there is no such page.
    QByteArrayView page(quint32 number) const
    {
        if (number < 1 || number > pages)
            return {};
        if (const auto put = newer.find(number); put != newer.end())
            return put->second.first(layout.usable);
        const qint64 start = (qint64(number) - 1) * layout.size;
        return start > file.size() - layout.size ? QByteArrayView() : file.sliced(start, layout.usable);
    }

    /// `content` is a whole page.
    void putPage(quint32 number, QByteArrayView content) { newer.insert_or_assign(number, content); }
    void setPageCount(quint32 count) { pages = count; }

private:
    QByteArrayView file;
    PageLayout layout;
    quint32 pages;
    std::unordered_map<quint32, QByteArrayView> newer;
};
