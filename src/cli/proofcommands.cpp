#include "cli/proofcommands.h"

#include "app/product.h"
#include "cli/commandline.h"
#include "cli/delivery.h"
#include "cli/exportformats.h"
#include "cli/interrupt.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "export/bag.h"
#include "export/evidence.h"
#include "export/messagejson.h"
#include "sources/comparesources.h"
#include "sources/filesread.h"
#include "sources/findsource.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QSysInfo>
#include <QTimeZone>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

QStringList runLines()
{
    return {u"Date: "_s + QDateTime::currentDateTimeUtc().toString(Qt::ISODate),
            u"Program: "_s + productName() + u' ' + versionText(),
            u"Command: "_s + QCoreApplication::arguments().join(u' '),
            u"Zone: "_s + QString::fromUtf8(QTimeZone::systemTimeZoneId()),
            u"System: "_s + QSysInfo::prettyProductName()};
}

EvidencePlan evidencePlan(const CommandLine &line, const Source &source, const QList<_MsgMessage *> &messages)
{
    EvidencePlan plan;
    QStringList formats = line.formats;
    formats.removeDuplicates();
    for (const QString &format : std::as_const(formats))
        plan.formats.append(formatNamed(format, line.allColumns));
    if (plan.formats.isEmpty())
        plan.formats = {ExportText, ExportJsonLines, ExportXlsx};
    for (const ReadFile &file : filesRead(*source.db))
        plan.originals.append({file.path, file.name});
    const FoundSource found = findSource(line.source);
    if (found.kind == SourceKind::Backup)
        plan.phone = phoneInfo(found.folder.path());
    plan.reckoning = reckoning(*source.db, *source.store, messages);
    plan.run = runLines();
    plan.isOwnGuid = [&](const _MsgMessage &message) { return hasOwnGuid(*source.db, message); };
    return plan;
}

} // namespace

void evidenceCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Delivery delivery(line, u"evidence"_s);
    const Source source = openSource(line, progress);
    const QList<_MsgMessage *> messages = chosenMessages(source.store, source.localized(line.choice));
    EvidencePlan plan = evidencePlan(line, source, messages);
    plan.folder = delivery.path();
    const InterruptScope interruptible(progress);
    makeEvidence(messages, plan, progress);
    delivery.finish(progress);
    progress.clear();
    printJsonLine({{u"messages"_s, messages.size()},
                   {u"path"_s, delivery.resultPath()},
                   {u"reckoning"_s, plan.reckoning}});
}

void verifyCommand(const CommandLine &line, TerminalProgress &progress)
{
    const InterruptScope interruptible(progress);
    const BagCheck check = checkBag(QDir(line.source), progress);
    progress.clear();
    printJsonLine({{u"files"_s, check.files},
                   {u"changed"_s, QJsonArray::fromStringList(check.changed)},
                   {u"missing"_s, QJsonArray::fromStringList(check.missing)},
                   {u"extra"_s, QJsonArray::fromStringList(check.extra)}});
    finishOutput();
    if (!check.isWhole())
        throw std::runtime_error(
            u"%1: the folder isn't as it was made: %2 changed, %3 missing, %4 added."_s.arg(line.source)
                .arg(check.changed.size())
                .arg(check.missing.size())
                .arg(check.extra.size())
                .toStdString());
}

void compareCommand(const CommandLine &line, TerminalProgress &progress)
{
    const Source older = openSource(line, progress);
    CommandLine newerLine = line;
    newerLine.source = line.words.value(0);
    const Source newer = openSource(newerLine, progress);
    const auto compared = [](const Source &source) {
        return ComparedSource{
            *source.store, [&source](const _MsgMessage &message) { return hasOwnGuid(*source.db, message); }};
    };
    progress.clear();
    for (const SourceChange &change : compareSources(compared(older), compared(newer))) {
        const Source &source = change.kind == SourceChange::Kind::Gone ? older : newer;
        const QString chat = change.message->chat ? change.message->chat->chat_identifier : QString();
        QJsonObject object =
            messageJson(*change.message, chat, hasOwnGuid(*source.db, *change.message), line.emoji);
        object.insert(u"change"_s, changeName(change.kind));
        printJsonLine(object);
    }
}
