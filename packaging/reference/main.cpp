// Fills the gaps of a page of the manual or of a script for completion with what the companion's table of
// commands says: `reference manual|bash|zsh|fish FILE` writes FILE without gaps to standard output.

#include "completion.h"
#include "manual.h"

#include <QFile>
#include <QHash>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

using Filling = QString (*)(QString);

const QHash<QString, Filling> fillings{{u"manual"_s, manualPage},
                                       {u"bash"_s, bashCompletion},
                                       {u"zsh"_s, zshCompletion},
                                       {u"fish"_s, fishCompletion}};

} // namespace

int main(int argc, char **argv)
{
    const Filling fill = argc == 3 ? fillings.value(QString::fromLocal8Bit(argv[1])) : nullptr;
    QFile file(argc == 3 ? QString::fromLocal8Bit(argv[2]) : QString());
    if (!fill || !file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "usage: reference manual|bash|zsh|fish FILE\n");
        return 1;
    }
    const QByteArray text = fill(QString::fromUtf8(file.readAll())).toUtf8();
    const bool isWritten =
        std::fwrite(text.constData(), 1, size_t(text.size()), stdout) == size_t(text.size());
    return isWritten && std::fflush(stdout) == 0 ? 0 : 1;
}
