#pragma once

#include "export/smspagerenderer.h"
#include "store/records/absformatexport.h"

#include <QPainter>
#include <QPdfWriter>
#include <QString>

struct _MsgMessage;

/// One PDF file on A4 paper. It is written beside its path, under the name with ".part", and comes under
/// its own name in `end`, complete and on the disk; that throws `std::runtime_error` when the disk can't keep
/// it. A painter that can't write it keeps silent: look whether it is there. Its bytes hold the time of
/// writing.
class ExportSMSPdf final : public AbsFormatExport<_MsgMessage>
{
public:
    explicit ExportSMSPdf(const QString &path, EmojiStyle emoji = EmojiStyle::Markers);
    ~ExportSMSPdf() override;

    void begin() override;
    void write(const _MsgMessage &message) override;
    void end() override;

private:
    QString path;
    QString partPath;
    QPdfWriter pages;
    QPainter painter;
    SmsPageRenderer renderer;
};
