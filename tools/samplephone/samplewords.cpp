#include "tools/samplephone/samplewords.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace
{

QStringList wordsOf(const char16_t *words)
{
    return QString::fromUtf16(words).split(u' ', Qt::SkipEmptyParts);
}

/// Spanish stands twice: the phone lives in Spain.
const QList<QStringList> &languages()
{
    static const QStringList spanish = wordsOf(
        u"mañana tarde quedamos casa trabajo llego cinco minutos vale perfecto cuando vienes comida niños "
        u"coche playa fin semana llamo luego compra pan leche reunión médico abuela partido cena fiesta "
        u"gracias también nunca siempre está lloviendo señora año corazón pingüino");
    static const QList<QStringList> all = {
        spanish,
        wordsOf(
            u"tomorrow maybe train late meeting dinner kids school weekend please bring the keys call me "
            u"back soon thanks lovely photo garden coffee station ticket birthday present open window cold"),
        spanish,
        wordsOf(
            u"morgen später Straße über Größe schön Bahnhof Abend Kinder Brötchen heute leider müde Grüße "
            u"bitte danke vielleicht Wetter Zug Schlüssel Geburtstag öffnen"),
        wordsOf(
            u"demain peut-être déjà été garçon où voiture école bientôt merci café fenêtre hôtel forêt Noël "
            u"rendez-vous gare bisous cœur"),
        wordsOf(u"amanhã não coração avó pão praia reunião também obrigado até logo você trânsito almoço"),
        wordsOf(
            u"завтра может быть поезд дома вечером спасибо дети школа позвони погода день рождения хорошо"),
        wordsOf(u"غدا شكرا البيت المدرسة السيارة متى القهوة صباح الخير نلتقي لاحقا"),
        wordsOf(u"מחר תודה בית ספר רכבת ערב טוב ילדים קפה נתראה אולי"),
        wordsOf(u"明日 駅 ありがとう 電車 会議 夕食 写真 天気 今度 一緒に"),
    };
    return all;
}

const QStringList &shortAnswers()
{
    static const QStringList answers = {u"Ok"_s,       u"Sí"_s,          u"No"_s,     u"Vale"_s,
                                        u"👍"_s,        u"😄"_s,           u"jajaja"_s, u"Gracias!"_s,
                                        u"Voy"_s,      u"?"_s,           u"Yes!"_s,   u"Bis gleich"_s,
                                        u"À demain"_s, u"Ya llego 🚗💨"_s, u"спасибо"_s};
    return answers;
}

} // namespace

QString sampleSentence(int language, SampleRandom &random)
{
    if (random.isOneIn(8))
        return random.pick(shortAnswers());
    const QStringList &words = languages().at(language % int(languages().size()));
    const int count = 2 + random.below(13);
    QString text;
    text.reserve(qsizetype(count) * 8);
    for (int place = 0; place < count; ++place) {
        if (place > 0)
            text += u' ';
        text += random.pick(words);
    }
    text[0] = text.at(0).toUpper();
    if (random.isOneIn(3))
        text += random.isOneIn(2) ? u'!' : u'?';
    if (random.isOneIn(20))
        text += u" 🎉";
    return text;
}

QString sampleFirstName(SampleRandom &random)
{
    static const QStringList names = wordsOf(
        u"Ana Luis Carmen Javier Lucía Íñigo Marta Pablo Sofía Jürgen Anke Émile Chloé João Inês Олег "
        u"Наталья Åsa Søren Zoë Ahmed Noa Yuki");
    return random.pick(names);
}

QString sampleLastName(SampleRandom &random)
{
    static const QStringList names = wordsOf(
        u"García López Núñez Etxeberria Müller Groß Lefèvre Gonçalves Silva Иванова Øster Ångström Smith "
        u"O'Neill Haddad Cohen Tanaka Muñoz Ibáñez Castro");
    return random.pick(names);
}
