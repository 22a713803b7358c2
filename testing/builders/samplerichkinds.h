#pragma once

#include "testing/builders/iosversion.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// A balloon as a phone keeps it.
struct SampleRichKind {
    const char *name;
    IosVersion since;
    QString balloon_bundle_id;
    QByteArray payload_data;
};

/// One of each kind of balloon, and of the shapes that a kind comes in.
QList<SampleRichKind> sampleRichKinds();

/// `payload_data` of a poll; the ids of its options are "1", "2" and so on.
QByteArray samplePoll(const QString &title, const QStringList &options);
/// ... of a vote for options by their ids.
QByteArray sampleVote(const QString &voter, const QStringList &options);

/// `message_summary_info` of a message whose first part was translated.
QByteArray sampleTranslation(const QString &text, const QString &from, const QString &to);

/// Handwriting of `strokes` lines of `points` points each, packed as phones do or not at all.
QByteArray sampleHandwriting(int strokes, int points, bool isPacked);
/// A sketch of Digital Touch: one line of `points` points, and a dot.
QByteArray sampleSketch(int points);
