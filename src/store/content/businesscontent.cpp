#include "store/content/contentreader.h"
#include "store/content/contenttools.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

// What a firm asks and a person answers: JSON in the "data" of the archive. Its structure alone tells the
// kind; the words in it are anybody's.

namespace
{

constexpr qsizetype largestJson = 4 * 1024 * 1024; // bytes
constexpr qsizetype mostChoices = 1'000;

QString textOf(const QJsonValue &object, QStringView key)
{
    return boundedText(object[key].toString());
}

ContentChoice choiceOf(const QJsonValue &item)
{
    ContentChoice choice;
    choice.id = textOf(item, u"identifier");
    choice.text = textOf(item, u"title");
    choice.detail = textOf(item, u"subtitle");
    return choice;
}

void addChoice(MessageContent &content, const ContentChoice &choice)
{
    if (content.choices.size() < mostChoices)
        content.choices.append(choice);
    content.isAnswered |= choice.isChosen;
}

/// The question, where the row tells none of its own.
void setQuestion(MessageContent &content, const QString &question)
{
    if (!question.isEmpty())
        content.title = question;
}

void readQuickReply(MessageContent &content, const QJsonValue &reply)
{
    content.kind = ContentKind::QuickReply;
    setQuestion(content, textOf(reply, u"summaryText"));
    const QString chosen = reply["selectedIdentifier"_L1].toString();
    const int chosenIndex = reply["selectedIndex"_L1].toInt(-1);
    int index = 0;
    for (const QJsonValue &item : reply["items"_L1].toArray()) {
        ContentChoice choice = choiceOf(item);
        choice.isChosen = index++ == chosenIndex || (!chosen.isEmpty() && choice.id == chosen);
        addChoice(content, choice);
    }
}

void readListPicker(MessageContent &content, const QJsonObject &root)
{
    content.kind = ContentKind::ListPicker;
    setQuestion(content, textOf(root["receivedMessage"_L1], u"title"));
    // Of an answer the first section holds what was chosen; its heading is in the phone's language.
    bool isChosen = root["replyMessage"_L1].isObject();
    for (const QJsonValue &section : root["listPicker"_L1]["sections"_L1].toArray()) {
        for (const QJsonValue &item : section["items"_L1].toArray()) {
            ContentChoice choice = choiceOf(item);
            choice.section = textOf(section, u"title");
            choice.isChosen = isChosen;
            addChoice(content, choice);
        }
        isChosen = false;
    }
}

void readForm(MessageContent &content, const QJsonValue &form)
{
    content.kind = ContentKind::Form;
    for (const QJsonValue &selection : form["selections"_L1].toArray()) {
        ContentChoice answer;
        answer.section = textOf(selection, u"title");
        answer.text = textOf(selection, u"subtitle");
        QStringList answers;
        for (const QJsonValue &item : selection["items"_L1].toArray())
            answers.append(textOf(item, u"title"));
        answer.detail = boundedText(answers.join(u", "_s));
        answer.isChosen = true;
        addChoice(content, answer);
    }
}

} // namespace

void readBusiness(MessageContent &content, const QVariantMap &root)
{
    content.url.clear(); // the app's own
    const QByteArray data = root.value(u"data"_s).toByteArray();
    if (data.size() > largestJson)
        return;
    const QJsonObject json = QJsonDocument::fromJson(data).object();
    if (json["quick-reply"_L1]["items"_L1].isArray())
        readQuickReply(content, json["quick-reply"_L1]);
    else if (json["listPicker"_L1]["sections"_L1].isArray())
        readListPicker(content, json);
    else if (json["dynamic"_L1].isObject())
        readForm(content, json["dynamic"_L1]);
}
