#include "cli/attachmentscommand.h"

#include "cli/commandline.h"
#include "cli/jsonlines.h"
#include "cli/source.h"
#include "cli/terminalprogress.h"
#include "store/readers/absmessagedb.h"
#include "store/records/attachmentlist.h"

using namespace Qt::StringLiterals;

namespace
{

QJsonObject totalsJson(const AttachmentTotals &totals)
{
    return {{u"attachments"_s, totals.count},
            {u"bytes"_s, totals.bytes},
            {u"bytes_on_disk"_s, totals.bytesOnDisk},
            {u"missing"_s, totals.missing},
            {u"missing_bytes"_s, totals.missingBytes}};
}

} // namespace

CommandResult attachmentsCommand(const CommandLine &line)
{
    TerminalProgress progress(line.quiet);
    const Source source = openSource(line, progress);
    if (!source.db)
        return source.refusal;
    const QList<ListedAttachment> list =
        listAttachments(chosenMessages(source.store, line.choice, line.order));
    for (const ListedAttachment &listed : list) {
        if (!line.missing || listed.attachment->localFile.isEmpty())
            printJsonLine(
                attachmentJson(*listed.attachment, *listed.message, hasOwnGuid(*source.db, *listed.message)));
    }
    printJsonLine(totalsJson(totalsOf(list)));
    return {};
}
