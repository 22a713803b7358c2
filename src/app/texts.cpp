#include "app/texts.h"

#include <QCoreApplication>
#include <QTranslator>

using namespace Qt::StringLiterals;

void installTexts(QTranslator &translator)
{
    // A missing table is no reason to stop: keys are readable enough to go on with.
    [[maybe_unused]] const bool loaded = translator.load(u":/en.qm"_s);
    QCoreApplication::installTranslator(&translator);
}

QString printable(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return text;
}
