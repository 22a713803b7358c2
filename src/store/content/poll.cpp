#include "store/content/poll.h"

#include "store/archives/keyedarchive.h"
#include "store/content/contentreader.h"
#include "store/content/contenttools.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

// A poll is JSON in Base64 in an address of the form "data:,...?src=p". A vote has the same form.

namespace
{

constexpr qsizetype mostOptions = 1'000;

QJsonObject itemOf(const QString &url)
{
    constexpr auto scheme = "data:,"_L1;
    if (!url.startsWith(scheme))
        return {};
    const QStringView rest = QStringView(url).sliced(scheme.size());
    QByteArray encoded = rest.first(rest.contains(u'?') ? rest.indexOf(u'?') : rest.size()).toLatin1();
    encoded.replace('+', '-').replace('/', '_');
    const QByteArray json =
        QByteArray::fromBase64(encoded, QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return QJsonDocument::fromJson(json)["item"_L1].toObject();
}

} // namespace

void readPoll(MessageContent &content, const QVariantMap &root)
{
    readAppLayout(content, root);
    // Of the words that older phones show in its place, none tell more than the poll itself.
    const QJsonObject item = itemOf(textAt(root, u"URL"));
    content.url.clear();
    if (item.contains("votes"_L1)) {
        content.kind = ContentKind::Vote;
        return;
    }
    const QString title = boundedText(item["title"_L1].toString());
    if (!title.isEmpty())
        content.title = title;
    for (const QJsonValue &option : item["orderedPollOptions"_L1].toArray()) {
        if (content.choices.size() == mostOptions)
            break;
        ContentChoice choice;
        choice.id = option["optionIdentifier"_L1].toString();
        choice.text = boundedText(option["text"_L1].toString());
        choice.creator = boundedText(option["creatorHandle"_L1].toString());
        content.choices.append(choice);
    }
}

QList<PollVote> readVotes(const QByteArray &payload_data)
{
    const QVariant root = readPlistTree(payload_data);
    QList<PollVote> votes;
    QHash<QString, qsizetype> places; // of the vote of a voter
    for (const QJsonValue &value : itemOf(textAt(root, u"URL"))["votes"_L1].toArray()) {
        const QString option = value["voteOptionIdentifier"_L1].toString();
        const QString voter = boundedText(value["participantHandle"_L1].toString(), longestTitle);
        if (option.isEmpty())
            continue;
        if (!places.contains(voter)) {
            places.insert(voter, votes.size());
            votes.append({{}, voter});
        }
        QStringList &options = votes[places.value(voter)].options;
        if (!options.contains(option) && options.size() < mostOptions)
            options.append(option);
    }
    return votes;
}

void countVotes(MessageContent &poll, const QList<PollVote> &votes)
{
    QHash<QString, qsizetype> last; // vote that holds, by voter
    for (qsizetype i = 0; i < votes.size(); ++i)
        last.insert(votes.at(i).voter, i);
    QHash<QString, qsizetype> places;
    for (qsizetype i = 0; i < poll.choices.size(); ++i)
        places.insert(poll.choices.at(i).id, i);
    for (qsizetype i = 0; i < votes.size(); ++i) {
        if (last.value(votes.at(i).voter) != i)
            continue;
        for (const QString &option : votes.at(i).options) {
            if (!places.contains(option)) {
                places.insert(option, poll.choices.size());
                ContentChoice unknown;
                unknown.id = option;
                poll.choices.append(unknown);
            }
            poll.choices[places.value(option)].voters.append(votes.at(i).voter);
            poll.isAnswered = true;
        }
    }
}
