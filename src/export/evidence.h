#pragma once

#include "export/exportmessages.h"

#include <QJsonObject>

// A bag that shows what the messages of a report were read from.

/// A file that was read, and its name in the bag.
struct EvidenceOriginal {
    QString path;
    QString name; ///< below "data/source", with "/"
};

/// What a bag of evidence is made of.
struct EvidencePlan {
    QString folder;     ///< that doesn't exist yet
    QList<int> formats; ///< of the report; not PDF, which holds the time of writing
    QList<EvidenceOriginal> originals;
    QJsonObject phone;     ///< what is known of the phone
    QJsonObject reckoning; ///< how the rows of the file come to the messages of the report
    QStringList run;       ///< lines that may differ from run to run
    GuidTest isOwnGuid = {};
};

/// Makes the bag of a report of `messages`, the files they were read from and those of their attachments.
/// It appears whole or not at all, and but for the file of the run the same input gives the same bytes.
/// Throws `std::runtime_error`, and the integer -1 on cancel.
void makeEvidence(const QList<_MsgMessage *> &messages, const EvidencePlan &plan, JobProgress &progress);
