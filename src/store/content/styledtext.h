#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A stretch of a message's text of one look, and what its attributes say of it.
struct StyledRun {
    qsizetype at = 0; ///< in UTF-16 units of the text
    qsizetype length = 0;
    int part = -1; ///< of the message, which reactions, replies and edits mean; -1 where none is told

    bool isBold = false;
    bool isItalic = false;
    bool isUnderlined = false;
    bool isStruckThrough = false;
    int effect = 0;    ///< animation of the text, by the phone's number; 0 for none
    QString mention;   ///< address of the person whom the stretch names
    QString link;      ///< http, https, tel, mailto
    QString code;      ///< login code
    QString detection; ///< what the phone took the stretch for: "Money", "Date", "Address" ...

    QString attachmentGuid; ///< of the file that the U+FFFC stands for
    bool isInline = false;  ///< that file stands within a line, like an emoji
    QString transcript;     ///< words of that file, a voice message

    bool isPlain() const;
};

/// The runs of a text whose `attributedBody` this is, clipped to it; empty when they belong to another
/// text. Never throws.
QList<StyledRun> styledRuns(const QString &text, const QByteArray &attributedBody);

/// Whether a body may hold a mark that people should be told of, by a quick look.
bool mayHaveStyles(const QByteArray &attributedBody);

/// The name of a text effect for data; the number itself where it isn't known.
QString textEffectName(int effect);

/// A message, or a part of it, in another language.
struct Translation {
    int part = 0;
    QString text;
    QString from; ///< languages such as "en_US"
    QString to;
};

/// What `message_summary_info` keeps of translations, by part.
QList<Translation> readTranslations(const QByteArray &message_summary_info);
