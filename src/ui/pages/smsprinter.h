#pragma once

#include "store/records/messagetext.h"

#include <QList>
#include <QObject>

class QPrinter;
struct _MsgMessage;

/// Shows messages as they will stand on paper, and prints them from there. Main thread only.
class SMSPrinter final : public QObject
{
    Q_OBJECT

public:
    explicit SMSPrinter(QObject *parent);

    /// Runs the preview of `messages` in their order, and comes back when it is closed. The messages
    /// have to live until then.
    void print(const QList<_MsgMessage *> &printed, EmojiStyle emojiStyle = EmojiStyle::Markers);

private Q_SLOTS:
    void onPaintRequested(QPrinter *printer);

private:
    QList<_MsgMessage *> messages;
    EmojiStyle emoji = EmojiStyle::Markers;
};
