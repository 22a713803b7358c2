#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// What a phone notes about a stretch of text: a number, or a text where `text` isn't null.
struct SampleAttribute {
    QByteArray key;
    int number = 0;
    QString text = {};
    bool isAddress = false; ///< the text is that of a link

    bool operator==(const SampleAttribute &) const = default;
};

/// A stretch of an attributed string, in UTF-16 units.
struct SampleRun {
    qsizetype length = 0;
    QList<SampleAttribute> attributes = {};
};

/// The classes of the string that is archived: NSMutableAttributedString with NSMutableString, or
/// NSAttributedString with NSString.
enum class SampleStringKind { Mutable, Fixed };

/// An attributed string as a typedstream: every class, text and number is written once and referred to
/// from then on. The runs should cover the text.
QByteArray sampleTypedStream(const QString &text, const QList<SampleRun> &runs,
                             SampleStringKind kind = SampleStringKind::Mutable);
